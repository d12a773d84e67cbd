#include "ui/terminal/curses_screen.h"

#include "ui/terminal/screen_grid.h"
#include "ui/terminal/signal_pipe.h"

#include <QSocketNotifier>

#include <clocale>
#include <csignal>
#include <cstring>
#include <langinfo.h>
#include <ncurses.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ravo::ui {

namespace {

enum Pair : short { accentPair = 1, goodPair, warningPair, criticalPair };

attr_t attributesOf(const CellStyle& style, bool color) {
    attr_t attributes = A_NORMAL;
    if (style.bold)
        attributes |= A_BOLD;
    if (style.reverse)
        attributes |= A_REVERSE;
    switch (style.tone) {
    case Tone::plain:
        break;
    case Tone::dim:
        attributes |= A_DIM;
        break;
    case Tone::accent:
        attributes |= color ? COLOR_PAIR(accentPair) : A_BOLD;
        break;
    case Tone::good:
        attributes |= color ? COLOR_PAIR(goodPair) : A_NORMAL;
        break;
    case Tone::warning:
        attributes |= color ? COLOR_PAIR(warningPair) : A_BOLD;
        break;
    case Tone::critical:
        attributes |= color ? COLOR_PAIR(criticalPair) : (A_BOLD | A_UNDERLINE);
        break;
    }
    return attributes;
}

DashboardKey keyOf(int code) {
    switch (code) {
    case KEY_UP:
    case 'k':
        return DashboardKey::up;
    case KEY_DOWN:
    case 'j':
        return DashboardKey::down;
    case KEY_LEFT:
    case 'h':
        return DashboardKey::left;
    case KEY_RIGHT:
    case 'l':
        return DashboardKey::right;
    case '\t':
        return DashboardKey::tab;
    case KEY_BTAB:
        return DashboardKey::backTab;
    case KEY_ENTER:
    case '\n':
    case '\r':
        return DashboardKey::enter;
    case 27:
        return DashboardKey::escape;
    case '?':
    case KEY_F(1):
        return DashboardKey::help;
    case 'q':
    case 'Q':
    case 3: // Ctrl-C when the terminal sends it as a key
        return DashboardKey::quit;
    case KEY_HOME:
    case 'g':
        return DashboardKey::home;
    case KEY_END:
    case 'G':
        return DashboardKey::end;
    default:
        return DashboardKey::other;
    }
}

} // namespace

bool CursesScreen::isAvailable() {
    return ::isatty(STDIN_FILENO) == 1 && drawsScreensOn(STDOUT_FILENO);
}

CursesScreen::CursesScreen(QObject* parent) : QObject(parent) {
    // Box drawing and blocks need a UTF-8 locale; a bare C locale gets C.UTF-8.
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        std::setlocale(LC_CTYPE, "C.UTF-8");
    initscr();
    // ncurses stays in its start-up state until it has once come back from endwin, and in
    // that state it sends its output at every cursor move: a dozen small writes a frame
    // instead of one. Nothing is on the screen yet, so the round trip is not seen; the
    // modes below are set after it, as the way back does not restore them all.
    endwin();
    refresh();
    cbreak();
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    // A frame goes out in one write instead of stopping to look for keys on the way.
    typeahead(-1);
    set_escdelay(25);
    curs_set(0);
    mousemask(BUTTON1_CLICKED | BUTTON1_DOUBLE_CLICKED | BUTTON4_PRESSED | BUTTON5_PRESSED,
              nullptr);
    mouseinterval(200);
    const char* noColor = std::getenv("NO_COLOR");
    color_ = has_colors() && (noColor == nullptr || noColor[0] == '\0');
    if (color_) {
        start_color();
        use_default_colors();
        init_pair(accentPair, COLOR_CYAN, -1);
        init_pair(goodPair, COLOR_GREEN, -1);
        init_pair(warningPair, COLOR_YELLOW, -1);
        init_pair(criticalPair, COLOR_RED, -1);
    }
    // Our handlers replace ncurses' own SIGWINCH one, so a resize wakes the event loop.
    signals_ = new SignalPipe({SIGINT, SIGTERM, SIGHUP, SIGWINCH}, this);
    connect(signals_, &SignalPipe::received, this, [this](int number) {
        if (number == SIGWINCH)
            takeNewSize();
        else
            emit quitRequested();
    });
    input_ = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(input_, &QSocketNotifier::activated, this, &CursesScreen::readInput);
}

CursesScreen::~CursesScreen() {
    endwin();
}

int CursesScreen::width() const {
    return COLS;
}

int CursesScreen::height() const {
    return LINES;
}

ScreenGrid CursesScreen::draw(ScreenGrid grid) {
    const bool whole = !last_ || resizedSinceDraw_ || last_->width() != grid.width() ||
                       last_->height() != grid.height();
    resizedSinceDraw_ = false;
    if (whole)
        erase();
    const int rows = std::min(grid.height(), LINES);
    const int columns = std::min(grid.width(), COLS);
    std::string run;
    bool changed = whole;
    for (int row = 0; row < rows; ++row) {
        // Most frames differ from the last in a few cells of a few rows; only those are
        // handed to ncurses, which then compares and sends no more than that.
        ScreenGrid::Span span{0, columns};
        if (!whole) {
            const auto differs = grid.changedSpan(*last_, row);
            if (!differs)
                continue;
            span = *differs;
            // Start on a whole character, in this frame and in the one on the terminal.
            while (span.first > 0 && (grid.at(row, span.first).glyph.view().empty() ||
                                      last_->at(row, span.first).glyph.view().empty()))
                --span.first;
            span.end = std::min(span.end, columns);
        }
        changed = true;
        int column = span.first;
        while (column < span.end) {
            // One call per run of cells that look alike.
            const CellStyle style = grid.at(row, column).style;
            const int start = column;
            run.clear();
            bool blank = true;
            for (; column < span.end && grid.at(row, column).style == style; ++column) {
                const std::string_view glyph = grid.at(row, column).glyph.view();
                blank = blank && glyph == " ";
                run += glyph;
            }
            if (whole && blank && style == CellStyle{})
                continue; // erased already
            attrset(attributesOf(style, color_));
            mvaddnstr(row, start, run.data(), static_cast<int>(run.size()));
        }
    }
    attrset(A_NORMAL);
    if (changed)
        refresh();
    ScreenGrid previous = last_ ? std::move(*last_) : ScreenGrid(0, 0);
    last_ = std::move(grid);
    return previous;
}

void CursesScreen::takeNewSize() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0)
        resizeterm(size.ws_row, size.ws_col);
    resizedSinceDraw_ = true;
    // resizeterm queues KEY_RESIZE, and no byte on stdin will come to fetch it.
    readInput();
}

void CursesScreen::readInput() {
    for (int code = getch(); code != ERR; code = getch()) {
        if (code == KEY_RESIZE) {
            emit resized();
        } else if (code == KEY_MOUSE) {
            MEVENT event{};
            if (getmouse(&event) != OK)
                continue;
            if (event.bstate & BUTTON4_PRESSED)
                emit scrolled(event.y, event.x, -1);
            else if (event.bstate & BUTTON5_PRESSED)
                emit scrolled(event.y, event.x, 1);
            else if (event.bstate & (BUTTON1_CLICKED | BUTTON1_DOUBLE_CLICKED))
                emit clicked(event.y, event.x, (event.bstate & BUTTON1_DOUBLE_CLICKED) != 0);
        } else {
            emit keyPressed(keyOf(code));
        }
    }
}

} // namespace ravo::ui

// term.h names every capability as a macro (lines, columns, …), so it comes after the code
// that uses such names.
#include <term.h>

namespace ravo::ui {

bool CursesScreen::drawsScreensOn(int fd) {
    if (::isatty(fd) != 1)
        return false;
    // initscr on a terminal it does not know ends the program; on a dumb one it draws
    // nothing. Asked first, on a terminal description of its own that is dropped again.
    int status = 0;
    if (setupterm(nullptr, fd, &status) != OK)
        return false;
    const auto has = [](const char* capability) {
        const char* value = tigetstr(capability);
        return value != nullptr && value != reinterpret_cast<char*>(-1);
    };
    const bool draws = has("cup") && has("clear") && tigetflag("hc") <= 0;
    del_curterm(cur_term);
    return draws;
}

} // namespace ravo::ui
