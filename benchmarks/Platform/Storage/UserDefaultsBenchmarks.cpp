// SPDX-License-Identifier: Apache-2.0
// Settings beside QSettings in the form of an ini file, both on the disk of the temporary folder.
#include <benchmarks/Support/Goals.h>
#include <corvane/UserSettings/UserSettings.h>

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#ifdef CORVANE_PEER_QT
#include <QSettings>
#include <QString>
#endif

namespace {

using namespace corvane;

// A fresh folder that goes when the benchmark ends.
class Folder {
public:
    Folder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "corvane-benchmark-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
            std::abort();
        path_ = pattern;
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

std::string keyName(int i)
{
    return "settingOfThePage" + std::to_string(i);
}

std::string textOf(int i)
{
    return "text of setting " + std::to_string(i);
}

UserDefaults filled(const std::string& folder, int keys)
{
    UserDefaults defaults("suite", URL::fromPath(folder));
    defaults.transaction([&] {
        for (int i = 0; i < keys; ++i)
            defaults.setObject(i % 2 == 0 ? PropertyValue(i) : PropertyValue(textOf(i)), keyName(i));
    });
    return defaults;
}

void readInteger(benchmark::State& state)
{
    const Folder folder;
    const UserSettings settings(filled(folder.path(), 100));
    const EvaluedUserSettingKey<IntUSC> key(keyName(42), 0);
    for (auto _ : state)
        benchmark::DoNotOptimize(settings.value(key));
}
BENCHMARK(readInteger)->Name("read a number/Corvane");

void readText(benchmark::State& state)
{
    const Folder folder;
    const UserSettings settings(filled(folder.path(), 100));
    const EvaluedUserSettingKey<StringUSC> key(keyName(43), "");
    for (auto _ : state)
        benchmark::DoNotOptimize(settings.value(key));
}
BENCHMARK(readText)->Name("read a text/Corvane");

void write(benchmark::State& state)
{
    const Folder folder;
    UserSettings settings(filled(folder.path(), 100));
    const EvaluedUserSettingKey<IntUSC> key(keyName(42), 0);
    Int value = 0;
    for (auto _ : state)
        settings[key] = ++value;
    if (settings.suite.lastFailure())
        state.SkipWithError(settings.suite.lastFailure()->message.c_str());
}
BENCHMARK(write)->Name("write that survives a kill/Corvane");

void open(benchmark::State& state)
{
    const Folder folder;
    filled(folder.path(), 10000);
    for (auto _ : state) {
        const UserDefaults defaults("suite", URL::fromPath(folder.path()));
        if (defaults.integerForKey(keyName(9998)) != 9998)
            state.SkipWithError("it is not there");
    }
}
BENCHMARK(open)->Name("open 10,000 settings/Corvane")->Unit(benchmark::kMillisecond);

#ifdef CORVANE_PEER_QT

void fill(QSettings& settings, int keys)
{
    for (int i = 0; i < keys; ++i)
        if (i % 2 == 0)
            settings.setValue(QString::fromStdString(keyName(i)), i);
        else
            settings.setValue(QString::fromStdString(keyName(i)), QString::fromStdString(textOf(i)));
    settings.sync();
}

QString fileIn(const Folder& folder, int number = 0)
{
    return QString::fromStdString(folder.path() + "/suite" + std::to_string(number) + ".ini");
}

void qtReadInteger(benchmark::State& state)
{
    const Folder folder;
    QSettings settings(fileIn(folder), QSettings::IniFormat);
    fill(settings, 100);
    const QString key = QString::fromStdString(keyName(42));
    for (auto _ : state)
        benchmark::DoNotOptimize(settings.value(key, 0).toLongLong());
}
BENCHMARK(qtReadInteger)->Name("read a number/QSettings");

void qtReadText(benchmark::State& state)
{
    const Folder folder;
    QSettings settings(fileIn(folder), QSettings::IniFormat);
    fill(settings, 100);
    const QString key = QString::fromStdString(keyName(43));
    for (auto _ : state)
        benchmark::DoNotOptimize(settings.value(key).toString());
}
BENCHMARK(qtReadText)->Name("read a text/QSettings");

void qtWrite(benchmark::State& state)
{
    const Folder folder;
    QSettings settings(fileIn(folder), QSettings::IniFormat);
    fill(settings, 100);
    const QString key = QString::fromStdString(keyName(42));
    qlonglong value = 0;
    for (auto _ : state) {
        settings.setValue(key, ++value);
        settings.sync();
    }
}
BENCHMARK(qtWrite)->Name("write that survives a kill/QSettings");

// A file that was open lately is kept in memory, so the turn goes round more files than are kept.
void qtOpen(benchmark::State& state)
{
    constexpr int files = 64;
    const Folder folder;
    {
        QSettings settings(fileIn(folder), QSettings::IniFormat);
        fill(settings, 10000);
    }
    const std::filesystem::path first = fileIn(folder).toStdString();
    for (int i = 1; i < files; ++i)
        std::filesystem::copy_file(first, fileIn(folder, i).toStdString());
    int turn = 0;
    const QString key = QString::fromStdString(keyName(9998));
    for (auto _ : state) {
        const QSettings settings(fileIn(folder, ++turn % files), QSettings::IniFormat);
        if (settings.value(key).toLongLong() != 9998)
            state.SkipWithError("it is not there");
    }
}
BENCHMARK(qtOpen)->Name("open 10,000 settings/QSettings")->Unit(benchmark::kMillisecond);

const benchmarks::RatioGoal goals[] = {{"read a number", "QSettings", 0.35},
                                       {"read a text", "QSettings", 0.35},
                                       {"write that survives a kill", "QSettings", 1.0 / 20},
                                       {"open 10,000 settings", "QSettings", 0.6}};

#endif

} // namespace
