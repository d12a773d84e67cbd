// Draws the frames of a file through the dashboard's screen, the next one at each key, so a
// test in a real terminal can check that frames drawn in part add up to exactly the last
// one. Frames are separated by a line "--"; a line starting with "!" is drawn reversed.
// q quits.
#include "ui/terminal/curses_screen.h"
#include "ui/terminal/screen_grid.h"

#include <QCoreApplication>

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

using namespace ravo::ui;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::cerr << "usage: ravo_curses_frames FILE\n";
        return 2;
    }
    std::ifstream file(argv[1]);
    std::vector<std::vector<std::string>> frames(1);
    for (std::string line; std::getline(file, line);) {
        if (line == "--")
            frames.emplace_back();
        else
            frames.back().push_back(line);
    }
    if (!file.eof()) {
        std::cerr << "cannot read " << argv[1] << "\n";
        return 1;
    }

    CursesScreen screen;
    ScreenGrid spare(0, 0);
    std::size_t next = 0;
    const auto drawNext = [&] {
        if (next == frames.size())
            return;
        spare.reset(screen.width(), screen.height());
        int row = 0;
        for (const std::string& line : frames[next]) {
            const bool reversed = line.starts_with('!');
            const int end = spare.put(row, 0, reversed ? line.substr(1) : line);
            if (reversed)
                spare.restyle(row, 0, end, {Tone::plain, false, true});
            ++row;
        }
        ++next;
        spare = screen.draw(std::move(spare));
    };
    QObject::connect(&screen, &CursesScreen::keyPressed, &app, [&](DashboardKey key) {
        if (key == DashboardKey::quit)
            app.quit();
        else
            drawNext();
    });
    QObject::connect(&screen, &CursesScreen::quitRequested, &app, &QCoreApplication::quit);
    drawNext();
    return app.exec();
}
