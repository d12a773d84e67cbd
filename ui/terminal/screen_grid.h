#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ravo::ui {

// What a cell means; the screen turns it into colour only where the terminal has colour.
enum class Tone : std::uint8_t { plain, dim, accent, good, warning, critical };

struct CellStyle {
    Tone tone = Tone::plain;
    bool bold = false;
    bool reverse = false;
    bool operator==(const CellStyle&) const = default;
};

// One character in UTF-8 with its combining marks, kept inline: a frame has thousands of
// cells, and building, copying and comparing them as strings was most of a frame's cost.
// A cell is eight bytes, so a big terminal's frame stays small enough to be cleared and
// compared quickly: there is room for a character and a mark or two. Marks past that are
// dropped, as terminals drop them too.
class CellGlyph {
public:
    static constexpr std::size_t kCapacity = 5;

    CellGlyph() = default; // a blank
    explicit CellGlyph(std::string_view text);

    // Empty behind a wide character. Control characters are drawn as "?", so a glyph has no
    // zero byte, and unused bytes mark its end.
    std::string_view view() const { return {bytes_.data(), ::strnlen(bytes_.data(), kCapacity)}; }
    bool operator==(const CellGlyph&) const = default;

private:
    std::array<char, kCapacity> bytes_{' '};
};

struct Cell {
    CellGlyph glyph; // empty behind a wide character
    CellStyle style;
    bool operator==(const Cell&) const = default;
};

// Columns the terminal gives `text`: wide characters take two, combining marks none, and
// bytes that are not UTF-8 or not printable one each (they are drawn as "?").
int displayWidth(std::string_view text);

// `text` in at most `width` columns. Cut text ends with "…", at the end of a word when
// that keeps most of the line.
std::string fitText(std::string_view text, int width);

// `text` in lines of at most `width` columns, broken between words; a word longer than a
// line is cut by fitText.
std::vector<std::string> wrapText(std::string_view text, int width);

// A frame of the terminal dashboard: what each cell shows, laid out before anything is
// drawn, so layouts can be checked at any size without a terminal.
class ScreenGrid {
public:
    ScreenGrid(int width, int height);

    // Blank at the new size, keeping the storage: a frame every two seconds need not
    // allocate and fault in a fresh block of cells.
    void reset(int width, int height);

    int width() const { return width_; }
    int height() const { return height_; }

    // Writes `text` at (row, column), cut to fit before `column + limit` and the right edge;
    // returns the column after the last character written.
    int put(int row, int column, std::string_view text, CellStyle style = {}, int limit = -1);
    // Restyles `count` cells, for a selection bar.
    void restyle(int row, int column, int count, CellStyle style);
    const Cell& at(int row, int column) const;
    // A row's characters, with trailing blanks removed.
    std::string rowText(int row) const;

    // The columns [first, end) of `row` that differ from `other`, of the same size; none
    // when the row is the same.
    struct Span {
        int first = 0;
        int end = 0;
        bool operator==(const Span&) const = default;
    };
    std::optional<Span> changedSpan(const ScreenGrid& other, int row) const;
    bool operator==(const ScreenGrid&) const = default;

private:
    int width_ = 0;
    int height_ = 0;
    std::vector<Cell> cells_;
};

} // namespace ravo::ui
