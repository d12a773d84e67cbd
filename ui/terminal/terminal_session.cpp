#include "ui/terminal/terminal_session.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ravo::ui {

namespace {

int signalPipe[2] = {-1, -1};

void forwardSignal(int number) {
    const char byte = static_cast<char>(number);
    [[maybe_unused]] auto written = ::write(signalPipe[1], &byte, 1);
}

void writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n <= 0)
            return;
        done += static_cast<std::size_t>(n);
    }
}

} // namespace

TerminalSession::TerminalSession(int input, int output, QObject* parent)
    : QObject(parent), input_(input), output_(output) {
    outputIsTerminal_ = ::isatty(output_) == 1;
    inputIsTerminal_ = ::isatty(input_) == 1 && ::tcgetattr(input_, &savedMode_) == 0;
    if (inputIsTerminal_) {
        termios raw = savedMode_;
        raw.c_lflag &= static_cast<tcflag_t>(~(ICANON | ECHO));
        raw.c_cc[VMIN] = 0;
        raw.c_cc[VTIME] = 0;
        ::tcsetattr(input_, TCSANOW, &raw);
    }
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, signalPipe) == 0) {
        struct sigaction action {};
        action.sa_handler = forwardSignal;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        ::sigaction(SIGINT, &action, nullptr);
        ::sigaction(SIGTERM, &action, nullptr);
        ::sigaction(SIGWINCH, &action, nullptr);
        signals_ = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
        connect(signals_, &QSocketNotifier::activated, this, &TerminalSession::readSignals);
    }
    keys_ = new QSocketNotifier(input_, QSocketNotifier::Read, this);
    connect(keys_, &QSocketNotifier::activated, this, &TerminalSession::readKeys);
    if (outputIsTerminal_)
        writeAll(output_, "\x1b[?1049h\x1b[?25l");
}

TerminalSession::~TerminalSession() {
    if (outputIsTerminal_)
        writeAll(output_, "\x1b[?25h\x1b[?1049l");
    if (inputIsTerminal_)
        ::tcsetattr(input_, TCSANOW, &savedMode_);
    ::signal(SIGINT, SIG_DFL);
    ::signal(SIGTERM, SIG_DFL);
    ::signal(SIGWINCH, SIG_DFL);
    for (int& fd : signalPipe) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

int TerminalSession::width() const {
    winsize size{};
    if (outputIsTerminal_ && ::ioctl(output_, TIOCGWINSZ, &size) == 0 && size.ws_col > 20)
        return size.ws_col;
    return 100;
}

void TerminalSession::draw(const std::string& frame) {
    if (outputIsTerminal_)
        writeAll(output_, "\x1b[H\x1b[2J" + frame);
    else
        writeAll(output_, frame + "\n");
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

void TerminalSession::readSignals() {
    char number = 0;
    while (::read(signalPipe[0], &number, 1) == 1) {
        if (number == SIGWINCH)
            emit resized();
        else
            emit quitRequested();
    }
}

} // namespace ravo::ui
