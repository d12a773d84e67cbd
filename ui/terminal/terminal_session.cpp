#include "ui/terminal/terminal_session.h"

#include "ui/terminal/curses_screen.h"
#include "ui/terminal/signal_pipe.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ravo::ui {

namespace {

// False once the reader is gone.
bool writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace

TerminalSession::TerminalSession(int input, int output, QObject* parent)
    : QObject(parent), input_(input), output_(output) {
    outputIsTerminal_ = ::isatty(output_) == 1;
    drawsInPlace_ = outputIsTerminal_ && CursesScreen::drawsScreensOn(output_);
    // A closed pipe ends the dashboard through the failed write, cleanly, instead of
    // killing it with the terminal still in raw mode.
    std::signal(SIGPIPE, SIG_IGN);
    inputIsTerminal_ = ::isatty(input_) == 1 && ::tcgetattr(input_, &savedMode_) == 0;
    if (inputIsTerminal_) {
        termios raw = savedMode_;
        raw.c_lflag &= static_cast<tcflag_t>(~(ICANON | ECHO));
        raw.c_cc[VMIN] = 0;
        raw.c_cc[VTIME] = 0;
        ::tcsetattr(input_, TCSANOW, &raw);
    }
    signals_ = new SignalPipe({SIGINT, SIGTERM, SIGWINCH}, this);
    connect(signals_, &SignalPipe::received, this, [this](int number) {
        if (number == SIGWINCH)
            emit resized();
        else
            emit quitRequested();
    });
    keys_ = new QSocketNotifier(input_, QSocketNotifier::Read, this);
    connect(keys_, &QSocketNotifier::activated, this, &TerminalSession::readKeys);
    if (drawsInPlace_)
        writeAll(output_, "\x1b[?1049h\x1b[?25l");
}

TerminalSession::~TerminalSession() {
    if (drawsInPlace_)
        writeAll(output_, "\x1b[?25h\x1b[?1049l");
    if (inputIsTerminal_)
        ::tcsetattr(input_, TCSANOW, &savedMode_);
}

int TerminalSession::width() const {
    winsize size{};
    if (outputIsTerminal_ && ::ioctl(output_, TIOCGWINSZ, &size) == 0 && size.ws_col > 20)
        return size.ws_col;
    return 100;
}

std::optional<int> TerminalSession::height() const {
    winsize size{};
    if (!outputIsTerminal_)
        return std::nullopt;
    if (::ioctl(output_, TIOCGWINSZ, &size) == 0 && size.ws_row > 0)
        return size.ws_row;
    return 24;
}

void TerminalSession::draw(const std::string& frame) {
    if (outputClosed_)
        return;
    const bool written = drawsInPlace_ ? writeAll(output_, "\x1b[H\x1b[2J" + frame)
                                       : writeAll(output_, frame + "\n");
    if (!written && errno == EPIPE) {
        outputClosed_ = true;
        // Later: the first frames go out while the app starts, before its loop can quit.
        QTimer::singleShot(0, this, &TerminalSession::quitRequested);
    }
}

void TerminalSession::readKeys() {
    char buffer[64];
    const ssize_t n = ::read(input_, buffer, sizeof buffer);
    if (n == 0 && !inputIsTerminal_) {
        keys_->setEnabled(false); // input closed: only a signal ends the dashboard now
        return;
    }
    for (ssize_t i = 0; i < n; ++i)
        if (buffer[i] == 'q' || buffer[i] == 'Q' || buffer[i] == 3 /* Ctrl-C in raw mode */)
            emit quitRequested();
}

} // namespace ravo::ui
