#include "base/cross_process_signal.h"

#include <chrono>
#include <cstdlib>
#include <dbus/dbus.h>
#include <dlfcn.h>
#include <string>
#include <sys/stat.h>

namespace ravo::CrossProcessSignal {

namespace {

// The session bus's address without D-Bus's autolaunch, which would start a bus of its own.
std::string sessionBusAddress() {
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && address[0])
        return address;
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && runtime[0]) {
        const std::string socket = std::string(runtime) + "/bus";
        struct stat info {};
        if (::stat(socket.c_str(), &info) == 0 && S_ISSOCK(info.st_mode))
            return "unix:path=" + socket;
    }
    return {};
}

// libdbus is loaded only when a signal is due: ravo-hook starts after every tool call and
// most calls change nothing, so they should not pay for loading it.
struct LibDBus {
    void* handle = nullptr;
    decltype(&dbus_error_init) errorInit = nullptr;
    decltype(&dbus_error_free) errorFree = nullptr;
    decltype(&dbus_connection_open_private) openPrivate = nullptr;
    decltype(&dbus_message_new_method_call) newMethodCall = nullptr;
    decltype(&dbus_message_set_no_reply) setNoReply = nullptr;
    decltype(&dbus_message_new_signal) newSignal = nullptr;
    decltype(&dbus_connection_send) send = nullptr;
    decltype(&dbus_connection_read_write) readWrite = nullptr;
    decltype(&dbus_connection_has_messages_to_send) hasMessagesToSend = nullptr;
    decltype(&dbus_connection_get_is_connected) isConnected = nullptr;
    decltype(&dbus_message_unref) messageUnref = nullptr;
    decltype(&dbus_connection_close) close = nullptr;
    decltype(&dbus_connection_unref) connectionUnref = nullptr;

    template <typename F> bool resolve(F& function, const char* name) {
        function = reinterpret_cast<F>(::dlsym(handle, name));
        return function != nullptr;
    }

    bool load() {
        handle = ::dlopen("libdbus-1.so.3", RTLD_NOW | RTLD_LOCAL);
        return handle && resolve(errorInit, "dbus_error_init") &&
               resolve(errorFree, "dbus_error_free") &&
               resolve(openPrivate, "dbus_connection_open_private") &&
               resolve(newMethodCall, "dbus_message_new_method_call") &&
               resolve(setNoReply, "dbus_message_set_no_reply") &&
               resolve(newSignal, "dbus_message_new_signal") &&
               resolve(send, "dbus_connection_send") &&
               resolve(readWrite, "dbus_connection_read_write") &&
               resolve(hasMessagesToSend, "dbus_connection_has_messages_to_send") &&
               resolve(isConnected, "dbus_connection_get_is_connected") &&
               resolve(messageUnref, "dbus_message_unref") &&
               resolve(close, "dbus_connection_close") &&
               resolve(connectionUnref, "dbus_connection_unref");
    }
};

// Queues a message; the caller drives the connection.
bool queue(LibDBus& dbus, DBusConnection* connection, DBusMessage* message) {
    if (!message)
        return false;
    dbus.setNoReply(message, true);
    const bool queued = dbus.send(connection, message, nullptr);
    dbus.messageUnref(message);
    return queued;
}

// Writes what is queued, authenticating first, until done or the budget is spent. libdbus's
// own flush and bus registration wait without limit on a bus that accepts but never answers,
// and the agent waits on the hook.
bool drain(LibDBus& dbus, DBusConnection* connection, std::chrono::milliseconds budget) {
    const auto deadline = std::chrono::steady_clock::now() + budget;
    while (dbus.hasMessagesToSend(connection) && dbus.isConnected(connection)) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        if (!dbus.readWrite(connection, static_cast<int>(left.count())))
            return false;
    }
    return dbus.isConnected(connection);
}

} // namespace

bool post(std::string_view member) {
    const std::string address = sessionBusAddress();
    if (address.empty())
        return false;
    static LibDBus dbus;
    static const bool loaded = dbus.load();
    if (!loaded)
        return false;
    DBusError error;
    dbus.errorInit(&error);
    DBusConnection* connection = dbus.openPrivate(address.c_str(), &error);
    bool sent = false;
    if (connection) {
        // The bus wants Hello first; its answer is not needed to send a signal.
        const std::string name(member);
        sent = queue(dbus, connection,
                     dbus.newMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                        "org.freedesktop.DBus", "Hello")) &&
               queue(dbus, connection, dbus.newSignal(kPath, kInterface, name.c_str())) &&
               drain(dbus, connection, kBudget);
        dbus.close(connection);
        dbus.connectionUnref(connection);
    }
    dbus.errorFree(&error);
    return sent;
}

} // namespace ravo::CrossProcessSignal
