#include "ui/terminal/signal_pipe.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace ravo::ui {

namespace {

int pipeEnds[2] = {-1, -1};

void forwardSignal(int number) {
    const char byte = static_cast<char>(number);
    [[maybe_unused]] auto written = ::write(pipeEnds[1], &byte, 1);
}

} // namespace

SignalPipe::SignalPipe(std::vector<int> numbers, QObject* parent)
    : QObject(parent), numbers_(std::move(numbers)) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pipeEnds) != 0)
        return;
    struct sigaction action {};
    action.sa_handler = forwardSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int number : numbers_)
        ::sigaction(number, &action, nullptr);
    notifier_ = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &SignalPipe::readPipe);
}

SignalPipe::~SignalPipe() {
    for (int number : numbers_)
        ::signal(number, SIG_DFL);
    for (int& fd : pipeEnds) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

void SignalPipe::readPipe() {
    char number = 0;
    while (::read(pipeEnds[0], &number, 1) == 1)
        emit received(number);
}

} // namespace ravo::ui
