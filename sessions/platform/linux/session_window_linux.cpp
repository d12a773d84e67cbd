#include "sessions/platform/session_window.h"

#include "common/log_categories.h"

#include <QGuiApplication>
#include <QProcess>

#include <xcb/xcb.h>

#include <cstring>

namespace ravo::sessions {

namespace {

bool runTmux(const std::string& socket, const QStringList& arguments) {
    QProcess tmux;
    tmux.start("tmux", QStringList{"-S", QString::fromStdString(socket)} + arguments);
    if (!tmux.waitForFinished(2000)) {
        tmux.kill();
        tmux.waitForFinished(500);
        return false;
    }
    return tmux.exitStatus() == QProcess::NormalExit && tmux.exitCode() == 0;
}

// The pane's window becomes its session's current one, and the pane the window's active
// one, so every client attached to that session shows it.
bool selectPane(const sessions::SessionPlace& place) {
    const QString pane = QString::fromStdString(*place.tmuxPane);
    return runTmux(*place.tmuxSocket, {"select-window", "-t", pane}) &&
           runTmux(*place.tmuxSocket, {"select-pane", "-t", pane});
}

xcb_atom_t atom(xcb_connection_t* connection, const char* name) {
    const auto cookie =
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return value;
}

// Asks the window manager to activate the window (EWMH), and raises it directly for a
// display without one.
bool raiseWindow(std::uint32_t window) {
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    xcb_connection_t* connection = x11 ? x11->connection() : nullptr;
    if (!connection)
        return false;
    xcb_get_window_attributes_reply_t* attributes = xcb_get_window_attributes_reply(
        connection, xcb_get_window_attributes(connection, window), nullptr);
    if (!attributes)
        return false; // the terminal has closed
    std::free(attributes);
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(connection, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = 2; // from a pager-like tool, which window managers honour
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(connection, 0, screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(connection);
    return true;
}

} // namespace

bool bringSessionForward(const sessions::SessionPlace& place) {
    bool found = false;
    if (place.tmuxPane && place.tmuxSocket)
        found = selectPane(place);
    if (place.x11Window)
        found = raiseWindow(*place.x11Window) || found;
    if (!found)
        qCInfo(lcApp) << "No terminal found for the session";
    return found;
}

} // namespace ravo::sessions
