#include "core/cross_process_signal.h"

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
    decltype(&dbus_bus_register) registerOnBus = nullptr;
    decltype(&dbus_message_new_signal) newSignal = nullptr;
    decltype(&dbus_connection_send) send = nullptr;
    decltype(&dbus_connection_flush) flush = nullptr;
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
               resolve(registerOnBus, "dbus_bus_register") &&
               resolve(newSignal, "dbus_message_new_signal") &&
               resolve(send, "dbus_connection_send") && resolve(flush, "dbus_connection_flush") &&
               resolve(messageUnref, "dbus_message_unref") &&
               resolve(close, "dbus_connection_close") &&
               resolve(connectionUnref, "dbus_connection_unref");
    }
};

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
    if (connection && dbus.registerOnBus(connection, &error)) {
        const std::string name(member);
        if (DBusMessage* message = dbus.newSignal(kPath, kInterface, name.c_str())) {
            sent = dbus.send(connection, message, nullptr);
            dbus.flush(connection);
            dbus.messageUnref(message);
        }
    }
    if (connection) {
        dbus.close(connection);
        dbus.connectionUnref(connection);
    }
    dbus.errorFree(&error);
    return sent;
}

} // namespace ravo::CrossProcessSignal
