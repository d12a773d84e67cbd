#pragma once

#include "ui/terminal/dashboard_controls.h"
#include "ui/terminal/screen_grid.h"

#include <QObject>

#include <optional>

class QSocketNotifier;

namespace ravo::ui {

class SignalPipe;

// The terminal as a full screen through ncurses, for as long as this object lives: the
// alternate screen, keys and the mouse as the terminal reports them, colour only where
// the terminal has it and NO_COLOR is unset. Ctrl-C, SIGTERM and SIGHUP ask to quit;
// a resize is noticed at once. The shell gets its screen back as it was.
class CursesScreen : public QObject {
    Q_OBJECT
public:
    explicit CursesScreen(QObject* parent = nullptr);
    ~CursesScreen() override;

    // False when standard input or output is not a terminal, or not one ncurses can draw
    // a screen on (TERM=dumb, or a terminal it does not know).
    static bool isAvailable();
    // Whether the terminal on `fd`, as TERM names it, can move the cursor and clear.
    static bool drawsScreensOn(int fd);

    int width() const;
    int height() const;
    bool hasColor() const { return color_; }
    // Taken by value: the frame is kept to compare the next one with. Returns the frame
    // before, whose storage the next layout can reuse.
    ScreenGrid draw(ScreenGrid grid);

signals:
    void keyPressed(ravo::ui::DashboardKey key);
    void clicked(int row, int column, bool twice);
    void scrolled(int row, int column, int steps);
    void resized();
    void quitRequested();

private:
    void readInput();
    void takeNewSize();

    bool color_ = false;
    std::optional<ScreenGrid> last_;
    bool resizedSinceDraw_ = false;
    QSocketNotifier* input_ = nullptr;
    SignalPipe* signals_ = nullptr;
};

} // namespace ravo::ui
