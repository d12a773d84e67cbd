#pragma once

#include <QObject>

#include <optional>

#include <termios.h>

class QSocketNotifier;

namespace ravo::ui {

class SignalPipe;

// Owns the terminal while the dashboard runs: raw keys, the alternate screen where the
// terminal has one, and SIGINT/SIGTERM/SIGWINCH turned into Qt signals. Everything is
// restored on destruction. A terminal that cannot move the cursor (TERM=dumb) gets each
// frame below the last; output that is not a terminal gets plain frames, and once its
// reader is gone (a closed pipe) the session asks to quit.
class TerminalSession : public QObject {
    Q_OBJECT
public:
    TerminalSession(int input, int output, QObject* parent = nullptr);
    ~TerminalSession() override;

    // Someone reads the frames at a terminal, where keys can be pressed.
    bool isInteractive() const { return outputIsTerminal_; }
    int width() const;
    // Rows of the terminal; none for output that is not one, where frames may run long.
    std::optional<int> height() const;
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
    bool drawsInPlace_ = false;
    bool outputClosed_ = false;
    termios savedMode_{};
    QSocketNotifier* keys_ = nullptr;
    SignalPipe* signals_ = nullptr;
};

} // namespace ravo::ui
