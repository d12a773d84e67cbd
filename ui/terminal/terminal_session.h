#pragma once

#include <QObject>

#include <termios.h>

class QSocketNotifier;

namespace ravo::ui {

class SignalPipe;

// Owns the terminal while the dashboard runs: raw keys, the alternate screen, and
// SIGINT/SIGTERM/SIGWINCH turned into Qt signals. Everything is restored on destruction.
class TerminalSession : public QObject {
    Q_OBJECT
public:
    TerminalSession(int input, int output, QObject* parent = nullptr);
    ~TerminalSession() override;

    bool isInteractive() const { return outputIsTerminal_; }
    int width() const;
    void draw(const std::string& frame);

signals:
    void quitRequested();
    void resized();

private:
    void readKeys();

    int input_;
    int output_;
    bool inputIsTerminal_ = false;
    bool outputIsTerminal_ = false;
    termios savedMode_{};
    QSocketNotifier* keys_ = nullptr;
    SignalPipe* signals_ = nullptr;
};

} // namespace ravo::ui
