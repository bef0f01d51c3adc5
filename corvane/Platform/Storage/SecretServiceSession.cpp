// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/SecretServiceSession.h>

#define SECRET_API_SUBJECT_TO_CHANGE // for the encoding of secrets apart from libsecret's own calls
#include <libsecret/secret.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <thread>

namespace corvane {

namespace {

constexpr const char* serviceName = "org.freedesktop.secrets";
constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* promptInterface = "org.freedesktop.Secret.Prompt";

struct FreeError {
    void operator()(GError* error) const noexcept { g_error_free(error); }
};
using Error = std::unique_ptr<GError, FreeError>;

struct Unreference {
    void operator()(void* object) const noexcept { g_object_unref(object); }
};
template <typename T>
using Object = std::unique_ptr<T, Unreference>;

/// Keeps what is created in its scope from sending signals to a main loop of the host.
class InContext {
public:
    explicit InContext(GMainContext* context) : context_(context)
    {
        g_main_context_push_thread_default(context_);
    }
    InContext(const InContext&) = delete;
    InContext& operator=(const InContext&) = delete;
    ~InContext() { g_main_context_pop_thread_default(context_); }

private:
    GMainContext* context_;
};

// What is still to be done in a context that is left, such as freeing what its signals needed.
void finish(GMainContext* context)
{
    while (g_main_context_iteration(context, FALSE)) {
    }
    g_main_context_unref(context);
}

// libsecret's proxy insists on the bus connection that the whole process shares. A type of our own gives it ours in
// place of that, while it is still being made, and spares it what it would load and watch for nothing.
GObject* constructOnOurConnection(GType type, guint count, GObjectConstructParam* properties)
{
    auto* const parent = G_OBJECT_CLASS(g_type_class_peek(SECRET_TYPE_SERVICE));
    GObject* const object = parent->constructor(type, count, properties);
    g_object_set(object, "g-bus-type", G_BUS_TYPE_NONE, "g-flags",
                 G_DBUS_PROXY_FLAGS_DO_NOT_LOAD_PROPERTIES | G_DBUS_PROXY_FLAGS_DO_NOT_CONNECT_SIGNALS,
                 nullptr);
    return object;
}

GType serviceType()
{
    static const GType type = g_type_register_static_simple(
        SECRET_TYPE_SERVICE, "CorvaneSecretService", sizeof(SecretServiceClass),
        [](gpointer made, gpointer) { G_OBJECT_CLASS(made)->constructor = constructOnOurConnection; },
        sizeof(SecretService), nullptr, GTypeFlags(0));
    return type;
}

/// Cancels calls that take no timeout of their own at a deadline.
class Cancellation {
public:
    explicit Cancellation(const Deadline& deadline)
        : cancellable_(g_cancellable_new()), thread_([this, end = deadline.end()] {
              std::unique_lock lock(mutex_);
              if (!over_.wait_until(lock, end, [this] { return isOver_; }))
                  g_cancellable_cancel(cancellable_.get());
          })
    {}
    Cancellation(const Cancellation&) = delete;
    Cancellation& operator=(const Cancellation&) = delete;
    ~Cancellation()
    {
        {
            const std::scoped_lock lock(mutex_);
            isOver_ = true;
        }
        over_.notify_one();
        thread_.join();
    }
    GCancellable* get() const noexcept { return cancellable_.get(); }

private:
    Object<GCancellable> cancellable_;
    std::mutex mutex_;
    std::condition_variable over_;
    bool isOver_ = false;
    std::thread thread_;
};

bool isOne(int code, std::initializer_list<int> codes)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

OSStatus statusOf(const GError& error)
{
    if (error.domain == G_DBUS_ERROR) {
        if (isOne(error.code, {G_DBUS_ERROR_NO_REPLY, G_DBUS_ERROR_TIMEOUT, G_DBUS_ERROR_TIMED_OUT}))
            return errSecTimedOut;
        if (isOne(error.code, {G_DBUS_ERROR_ACCESS_DENIED, G_DBUS_ERROR_AUTH_FAILED}))
            return errSecAuthFailed;
        if (isOne(error.code, {G_DBUS_ERROR_SERVICE_UNKNOWN, G_DBUS_ERROR_NAME_HAS_NO_OWNER,
                               G_DBUS_ERROR_DISCONNECTED, G_DBUS_ERROR_NO_SERVER}) ||
            (error.code >= G_DBUS_ERROR_SPAWN_EXEC_FAILED && error.code <= G_DBUS_ERROR_SPAWN_NO_MEMORY))
            return errSecNotAvailable;
    }
    if (error.domain == G_IO_ERROR) {
        if (isOne(error.code, {G_IO_ERROR_TIMED_OUT, G_IO_ERROR_CANCELLED}))
            return errSecTimedOut;
        if (isOne(error.code, {G_IO_ERROR_CLOSED, G_IO_ERROR_NOT_CONNECTED, G_IO_ERROR_BROKEN_PIPE}))
            return errSecNotAvailable;
    }
    return errSecInternalComponent;
}

// Without starting a bus where there is none, as the library's own search would.
std::optional<std::string> busAddress()
{
    if (const char* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address)
        return address;
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    if (!folder || *folder != '/')
        return std::nullopt;
    const std::string socket = std::string(folder) + "/bus";
    if (::access(socket.c_str(), F_OK) != 0)
        return std::nullopt;
    char* const escaped = g_dbus_address_escape_value(socket.c_str());
    std::string address = std::string("unix:path=") + escaped;
    g_free(escaped);
    return address;
}

struct PromptState {
    bool isTimeUp = false;
    bool isCompleted = false;
    bool isDismissed = false;
    Variant result;
};

// A flag of its own: the alarm may go off a little before the deadline, and then nothing would wake the loop again.
gboolean promptTimedOut(gpointer state)
{
    static_cast<PromptState*>(state)->isTimeUp = true;
    return G_SOURCE_REMOVE;
}

void promptCompleted(GDBusConnection*, const char*, const char*, const char*, const char*,
                     GVariant* parameters, gpointer state)
{
    auto& prompt = *static_cast<PromptState*>(state);
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(bv)")))
        return;
    gboolean isDismissed = FALSE;
    GVariant* result = nullptr;
    g_variant_get(parameters, "(bv)", &isDismissed, &result);
    prompt.isCompleted = true;
    prompt.isDismissed = isDismissed != FALSE;
    prompt.result.reset(result);
}

} // namespace

void UnreferenceVariant::operator()(_GVariant* variant) const noexcept
{
    g_variant_unref(variant);
}

int Deadline::remaining() const
{
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now())
            .count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 1, G_MAXINT - 1));
}

std::shared_ptr<SecretServiceSession> SecretServiceSession::connect(const Deadline& deadline,
                                                                    OSStatus& status)
{
    const std::optional<std::string> address = busAddress();
    if (!address) {
        status = errSecNotAvailable;
        return nullptr;
    }
    const Cancellation cancellation(deadline);
    GError* error = nullptr;
    GDBusConnection* const connection = g_dbus_connection_new_for_address_sync(
        address->c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, cancellation.get(), &error);
    if (!connection) {
        const Error owned(error);
        // An address that leads nowhere, or to somebody else's bus, is no bus of this session.
        status = statusOf(*error) == errSecTimedOut ? errSecTimedOut : errSecNotAvailable;
        return nullptr;
    }
    status = errSecSuccess;
    return std::shared_ptr<SecretServiceSession>(new SecretServiceSession(connection));
}

SecretServiceSession::SecretServiceSession(GDBusConnection* connection)
    : connection_(connection), context_(g_main_context_new())
{}

SecretServiceSession::~SecretServiceSession()
{
    if (service_)
        g_object_unref(service_);
    g_dbus_connection_close(connection_, nullptr, nullptr, nullptr);
    g_object_unref(connection_);
    finish(context_);
}

OSStatus SecretServiceSession::hasService(const Deadline& deadline, bool& has) const
{
    const auto askBus = [&](const char* method, GVariant* parameters, const char* reply) {
        GError* error = nullptr;
        Variant value(g_dbus_connection_call_sync(
            connection_, busName, "/org/freedesktop/DBus", busName, method, parameters, G_VARIANT_TYPE(reply),
            G_DBUS_CALL_FLAGS_NONE, deadline.remaining(), nullptr, &error));
        const Error owned(error);
        return std::pair(std::move(value), error ? statusOf(*error) : errSecSuccess);
    };
    auto [owned, status] = askBus("NameHasOwner", g_variant_new("(s)", serviceName), "(b)");
    if (!owned)
        return status;
    gboolean isOwned = FALSE;
    g_variant_get(owned.get(), "(b)", &isOwned);
    has = isOwned != FALSE;
    if (has)
        return errSecSuccess;
    auto [names, listed] = askBus("ListActivatableNames", nullptr, "(as)");
    if (!names)
        return listed;
    GVariantIter* name = nullptr;
    g_variant_get(names.get(), "(as)", &name);
    const char* text = nullptr;
    while (g_variant_iter_next(name, "&s", &text))
        has = has || std::strcmp(text, serviceName) == 0;
    g_variant_iter_free(name);
    return errSecSuccess;
}

OSStatus SecretServiceSession::openSession(const Deadline& deadline)
{
    const Cancellation cancellation(deadline);
    const InContext context(context_);
    GError* error = nullptr;
    void* const service = g_initable_new(serviceType(), cancellation.get(), &error, "g-connection",
                                         connection_, "flags", SECRET_SERVICE_OPEN_SESSION, nullptr);
    if (!service) {
        const Error owned(error);
        return statusOf(*error);
    }
    service_ = SECRET_SERVICE(service);
    return errSecSuccess;
}

SecretServiceSession::Answer SecretServiceSession::call(const char* path, const char* interface,
                                                        const char* method, GVariant* parameters,
                                                        const char* reply, const Deadline& deadline) const
{
    GError* error = nullptr;
    Answer answer;
    answer.value.reset(g_dbus_connection_call_sync(connection_, serviceName, path, interface, method,
                                                   parameters, G_VARIANT_TYPE(reply), G_DBUS_CALL_FLAGS_NONE,
                                                   deadline.remaining(), nullptr, &error));
    if (answer.value)
        return answer;
    const Error owned(error);
    answer.status = statusOf(*error);
    if (char* const name = g_dbus_error_get_remote_error(error)) {
        const auto isNamed = [name](std::initializer_list<const char*> names) {
            return std::any_of(names.begin(), names.end(),
                               [name](const char* one) { return std::strcmp(name, one) == 0; });
        };
        answer.isLocked = isNamed({"org.freedesktop.Secret.Error.IsLocked"});
        answer.isMissing =
            isNamed({"org.freedesktop.Secret.Error.NoSuchObject", "org.freedesktop.DBus.Error.UnknownObject",
                     "org.freedesktop.DBus.Error.UnknownMethod"});
        answer.isOutdated = isNamed({"org.freedesktop.Secret.Error.NoSession"});
        g_free(name);
    }
    answer.isOutdated = answer.isOutdated || g_dbus_connection_is_closed(connection_) != FALSE;
    if (answer.isLocked)
        answer.status = errSecInteractionNotAllowed;
    return answer;
}

SecretServiceSession::Answer SecretServiceSession::perform(const std::string& prompt,
                                                           KeychainPrompting prompting,
                                                           const Deadline& deadline) const
{
    Answer answer;
    if (prompt == "/")
        return answer;
    if (prompting == KeychainPrompting::never) {
        answer.status = errSecInteractionNotAllowed;
        return answer;
    }
    GMainContext* const context = g_main_context_new();
    const InContext inContext(context);
    PromptState state;
    // Subscribed before it is asked, or a quick answer would be missed.
    const guint subscription = g_dbus_connection_signal_subscribe(
        connection_, serviceName, promptInterface, "Completed", prompt.c_str(), nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE, promptCompleted, &state, nullptr);
    answer = call(prompt.c_str(), promptInterface, "Prompt", g_variant_new("(s)", ""), "()", deadline);
    if (answer.status == errSecSuccess) {
        GSource* const alarm = g_timeout_source_new(static_cast<guint>(deadline.remaining()));
        g_source_set_callback(alarm, promptTimedOut, &state, nullptr);
        g_source_attach(alarm, context);
        while (!state.isCompleted && !state.isTimeUp)
            g_main_context_iteration(context, TRUE);
        g_source_destroy(alarm);
        g_source_unref(alarm);
        answer.value = std::move(state.result);
        if (!state.isCompleted) {
            g_dbus_connection_call(connection_, serviceName, prompt.c_str(), promptInterface, "Dismiss",
                                   nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
            answer.status = errSecInteractionNotAllowed;
        } else if (state.isDismissed) {
            answer.status = errSecUserCanceled;
        }
    }
    g_dbus_connection_signal_unsubscribe(connection_, subscription);
    finish(context);
    return answer;
}

const char* SecretServiceSession::sessionPath() const
{
    return secret_service_get_session_dbus_path(service_);
}

GVariant* SecretServiceSession::encode(DataView secret) const
{
    SecretValue* const value =
        secret_value_new(reinterpret_cast<const char*>(secret.data()), static_cast<gssize>(secret.size()),
                         "application/octet-stream");
    GVariant* const encoded = secret_service_encode_dbus_secret(service_, value);
    secret_value_unref(value);
    return encoded;
}

bool SecretServiceSession::decode(GVariant* encoded, SecretBytes& secret) const
{
    if (!g_variant_is_of_type(encoded, G_VARIANT_TYPE("(oayays)")))
        return false;
    SecretValue* const value = secret_service_decode_dbus_secret(service_, encoded);
    if (!value)
        return false;
    gsize size = 0;
    const char* const bytes = secret_value_get(value, &size);
    secret = SecretBytes(std::as_bytes(std::span(bytes, size)));
    secret_value_unref(value);
    return true;
}

} // namespace corvane
