#include "ui/terminal/screen_grid.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <type_traits>

namespace ravo::ui {

namespace {

constexpr char32_t kReplacement = U'?';

// The next code point; a byte that does not start a well-formed sequence is one replacement.
char32_t nextCodePoint(std::string_view text, std::size_t& at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(at);
    int extra = 0;
    char32_t point = 0;
    if (lead < 0x80) {
        ++at;
        return lead;
    } else if ((lead & 0xE0) == 0xC0) {
        extra = 1;
        point = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2;
        point = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3;
        point = lead & 0x07;
    } else {
        ++at;
        return kReplacement;
    }
    if (at + static_cast<std::size_t>(extra) >= text.size()) { // cut short
        ++at;
        return kReplacement;
    }
    for (int i = 1; i <= extra; ++i) {
        const unsigned char next = byte(at + static_cast<std::size_t>(i));
        if ((next & 0xC0) != 0x80) {
            ++at;
            return kReplacement;
        }
        point = (point << 6) | (next & 0x3F);
    }
    static constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (point < kSmallest[extra] || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
        ++at;
        return kReplacement;
    }
    at += static_cast<std::size_t>(extra) + 1;
    return point;
}

// The terminal's own idea of the width, so the layout agrees with what ncurses draws.
int columnsOf(char32_t& point) {
    if (point < 0x20 || (point >= 0x7F && point < 0xA0)) {
        point = kReplacement;
        return 1;
    }
    if (point < 0x7F)
        return 1;
    const int width = ::wcwidth(static_cast<wchar_t>(point));
    if (width < 0) {
        point = kReplacement;
        return 1;
    }
    return width;
}

// A character as the terminal draws it: its bytes in the text with the marks that ride
// on it, or "?" for one that cannot be shown. Views into the text, so measuring and
// cutting a line allocates nothing per character.
struct Glyph {
    std::string_view text;
    int columns = 0;
    bool replaced = false;
};

std::vector<Glyph> glyphs(std::string_view text) {
    std::vector<Glyph> out;
    out.reserve(text.size());
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t start = at;
        char32_t point = nextCodePoint(text, at);
        const int columns = columnsOf(point);
        const std::string_view bytes = text.substr(start, at - start);
        if (columns == 0) {
            // A mark without a base, or on a "?", is dropped.
            if (!out.empty() && !out.back().replaced)
                out.back().text = std::string_view(
                    out.back().text.data(),
                    static_cast<std::size_t>(bytes.data() + bytes.size() - out.back().text.data()));
        } else if (point == kReplacement && bytes != "?") {
            out.push_back({"?", columns, true});
        } else {
            out.push_back({bytes, columns, false});
        }
    }
    return out;
}

// The glyphs of `text` in at most `width` columns; a cut line ends with "…", at the end of
// a word when that keeps most of the line.
std::vector<Glyph> fittedGlyphs(std::string_view text, int width) {
    if (width <= 0)
        return {};
    auto all = glyphs(text);
    int total = 0;
    for (const auto& glyph : all)
        total += glyph.columns;
    if (total <= width)
        return all;
    // Room for the ellipsis; then back to a word's end if that loses under a third.
    std::size_t kept = 0;
    int used = 0;
    while (kept < all.size() && used + all[kept].columns <= width - 1)
        used += all[kept++].columns;
    std::size_t wordEnd = kept;
    while (wordEnd > 0 && all[wordEnd].text != " ")
        --wordEnd;
    if (wordEnd > 0 && wordEnd * 3 >= kept * 2)
        kept = wordEnd;
    while (kept > 0 && (all[kept - 1].text == " " || all[kept - 1].text == ","))
        --kept;
    all.resize(kept);
    all.push_back({"…", 1, false});
    return all;
}

} // namespace

int displayWidth(std::string_view text) {
    int total = 0;
    for (const auto& glyph : glyphs(text))
        total += glyph.columns;
    return total;
}

std::string fitText(std::string_view text, int width) {
    std::string out;
    for (const auto& glyph : fittedGlyphs(text, width))
        out += glyph.text;
    return out;
}

std::vector<std::string> wrapText(std::string_view text, int width) {
    std::vector<std::string> lines;
    const auto keep = [&](const std::string& line) {
        if (std::string fitted = fitText(line, width); !fitted.empty())
            lines.push_back(std::move(fitted)); // a lone combining mark shows nothing
    };
    std::string line;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t space = std::min(text.find(' ', at), text.size());
        const std::string_view word = text.substr(at, space - at);
        at = space + 1;
        if (word.empty())
            continue;
        if (!line.empty() && displayWidth(line) + 1 + displayWidth(word) > width) {
            keep(line);
            line.clear();
        }
        line += (line.empty() ? "" : " ") + std::string(word);
    }
    if (!line.empty())
        keep(line);
    return lines;
}

CellGlyph::CellGlyph(std::string_view text) : bytes_{} {
    std::size_t size = std::min(text.size(), kCapacity);
    // Cut before a character, never inside one.
    while (size < text.size() && size > 0 &&
           (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80)
        --size;
    std::copy_n(text.begin(), size, bytes_.begin());
}

ScreenGrid::ScreenGrid(int width, int height) {
    reset(width, height);
}

void ScreenGrid::reset(int width, int height) {
    width_ = std::max(width, 0);
    height_ = std::max(height, 0);
    cells_.resize(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
    if (cells_.empty())
        return;
    // One blank row, then copies of it in blocks: far quicker than cell by cell.
    const auto row = cells_.begin() + width_;
    std::fill(cells_.begin(), row, Cell{});
    for (auto at = row; at != cells_.end(); at += width_)
        std::copy(cells_.begin(), row, at);
}

int ScreenGrid::put(int row, int column, std::string_view text, CellStyle style, int limit) {
    if (row < 0 || row >= height_ || column < 0 || column >= width_)
        return column;
    int room = width_ - column;
    if (limit >= 0)
        room = std::min(room, limit);
    // Most text is plain ASCII that fits: one cell per byte, nothing to decode.
    if (static_cast<int>(text.size()) <= room &&
        std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7F; })) {
        for (char c : text) {
            auto& cell = cells_[static_cast<std::size_t>(row * width_ + column++)];
            cell.glyph = CellGlyph(std::string_view(&c, 1));
            cell.style = style;
        }
        return column;
    }
    for (const auto& glyph : fittedGlyphs(text, room)) {
        auto& cell = cells_[static_cast<std::size_t>(row * width_ + column)];
        cell = {CellGlyph(glyph.text), style};
        for (int extra = 1; extra < glyph.columns; ++extra)
            cells_[static_cast<std::size_t>(row * width_ + column + extra)] = {
                CellGlyph(std::string_view()), style};
        column += glyph.columns;
    }
    return column;
}

void ScreenGrid::restyle(int row, int column, int count, CellStyle style) {
    if (row < 0 || row >= height_)
        return;
    for (int c = std::max(column, 0); c < std::min(column + count, width_); ++c)
        cells_[static_cast<std::size_t>(row * width_ + c)].style = style;
}

const Cell& ScreenGrid::at(int row, int column) const {
    return cells_[static_cast<std::size_t>(row * width_ + column)];
}

// Cells have no padding, so a row compares as one block of bytes: far quicker than cell
// by cell, and every frame compares every row.
static_assert(std::has_unique_object_representations_v<Cell>);
static_assert(sizeof(Cell) == 8);

std::optional<ScreenGrid::Span> ScreenGrid::changedSpan(const ScreenGrid& other, int row) const {
    const Cell* mine = cells_.data() + static_cast<std::ptrdiff_t>(row) * width_;
    const Cell* theirs = other.cells_.data() + static_cast<std::ptrdiff_t>(row) * width_;
    const auto same = [&](int column, int count) {
        return std::memcmp(mine + column, theirs + column,
                           static_cast<std::size_t>(count) * sizeof(Cell)) == 0;
    };
    if (same(0, width_))
        return std::nullopt;
    Span span{0, width_};
    while (same(span.first, 1))
        ++span.first;
    while (same(span.end - 1, 1))
        --span.end;
    return span;
}

std::string ScreenGrid::rowText(int row) const {
    std::string text;
    for (int c = 0; c < width_; ++c)
        text += at(row, c).glyph.view();
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text;
}

} // namespace ravo::ui
