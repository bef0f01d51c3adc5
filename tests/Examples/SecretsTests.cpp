// SPDX-License-Identifier: Apache-2.0
// The program corvane-secrets, run as a person or a script runs it, in a session without a bus.
#include <Support/ChildProcess.h>
#include <Support/EnvironmentVariable.h>
#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace corvane {
namespace {

using tests::ChildProcess;
using tests::EnvironmentVariable;

class SecretsTests : public testing::Test {
protected:
    struct Outcome {
        int status;
        std::string output;
        std::string messages;
    };

    // `$S` is the program.
    static Outcome run(const std::string& commandLine)
    {
        ChildProcess shell({"/bin/sh", "-c", "S=" CORVANE_SECRETS "; " + commandLine});
        const int status = shell.wait();
        return {status, shell.output, shell.messages};
    }

    tests::TemporaryFolder folder;
    const EnvironmentVariable bus{"DBUS_SESSION_BUS_ADDRESS", nullptr};
    const EnvironmentVariable runtime{"XDG_RUNTIME_DIR", nullptr};
    const EnvironmentVariable data{"XDG_DATA_HOME", folder.path().c_str()};
};

TEST_F(SecretsTests, StoresLooksUpListsAndRemoves)
{
    struct Row {
        const char* commandLine;
        int status;
        const char* output;
    };
    const Row rows[] = {{"$S list", 0, ""},
                        {"$S lookup mail", 1, ""},
                        {"echo 'pass word' | $S store mail", 0, ""},
                        {"$S lookup mail", 0, "pass word"},
                        {"printf 'new\\n' | $S store --exact mail", 0, ""},
                        {"$S lookup mail", 0, "new\n"},
                        {"printf '\\n\\n' | $S store -- --odd; $S lookup -- --odd", 0, "\n"},
                        {"$S list", 0, "--odd\nmail\n"},
                        {"$S --service another list", 0, ""},
                        {"$S status", 0, "vault: The first item of this service was stored there.\n"},
                        {"$S --keychain secret-service lookup mail", 3, ""},
                        {"$S remove mail", 0, ""},
                        {"$S remove mail", 1, ""},
                        {"$S list", 0, "--odd\n"},
                        {"$S lookup -- --odd >/dev/full", 4, ""}};
    for (const Row& row : rows) {
        const Outcome outcome = run(row.commandLine);
        EXPECT_EQ(outcome.status, row.status) << row.commandLine << "\n" << outcome.messages;
        EXPECT_EQ(outcome.output, row.output) << row.commandLine;
        EXPECT_EQ(outcome.messages.empty(), row.status == 0) << row.commandLine << "\n" << outcome.messages;
    }
}

TEST_F(SecretsTests, SaysWhatIsWrongAndStoresNothing)
{
    for (const char* const commandLine :
         {"$S", "$S frob", "$S store", "echo x | $S store mail geheim", "$S store mail", "$S lookup ''",
          "$S --wait 0 list", "$S --wait 9x list", "$S --keychain other list", "$S --service '' list",
          "$S --quiet list", "head -c 1000001 /dev/zero | $S store mail",
          "printf x | $S store \"$(printf 'a\\377')\""}) {
        const Outcome outcome = run(commandLine);
        EXPECT_EQ(outcome.status, 2) << commandLine;
        EXPECT_EQ(outcome.output, "") << commandLine;
        EXPECT_NE(outcome.messages, "") << commandLine;
    }
    EXPECT_EQ(run("$S list").output, "");
    const Outcome help = run("$S --help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("--keychain"), std::string::npos);
}

TEST_F(SecretsTests, RefusesAVaultWhoseKeyOthersCanRead)
{
    ASSERT_EQ(run("echo x | $S store mail").status, 0);
    std::filesystem::permissions(folder / "corvane/keychain/vault.key", std::filesystem::perms(0644));
    const Outcome outcome = run("$S lookup mail");
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.messages,
              "corvane-secrets: The vault's key file may be read or written by other users (vault).\n");
}

// On a disk of its own; even reading would make files, for which there is no room.
TEST_F(SecretsTests, OnAFullDiskNothingIsStoredAndAllIsReadable)
{
    const std::string mount = "mount -t tmpfs -o size=600k none \"$XDG_DATA_HOME\"";
    if (run("unshare -rm sh -c '" + mount + "'").status != 0)
        GTEST_SKIP() << "no disk can be mounted";
    const auto onDisk = [&mount](const std::string& commands) {
        return run("export S; unshare -rm sh -c '" + mount + " && cd \"$XDG_DATA_HOME\" && " + commands + "'")
            .output;
    };
    const std::string fill = "echo one | $S store a; dd if=/dev/zero of=ballast bs=4k 2>/dev/null; ";
    const std::string tryIt =
        "head -c 90000 /dev/zero | $S store b; echo $?; $S lookup a; echo \" $?\"; rm ballast; "
        "head -c 90000 /dev/zero | $S store b; echo $?; $S lookup b | wc -c; $S lookup a";
    EXPECT_EQ(onDisk(fill + tryIt), "4\none 0\n0\n90000\none");
}

} // namespace
} // namespace corvane
