// Widths and headings of columns; lines of cells side by side.
#include "hosts/multivalue/query/report_layout.h"

#include <algorithm>

#include "hosts/multivalue/conversion/conversion.h"
#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/mark_scan.h"

namespace kel::query {

namespace {

constexpr char16_t kHeadingFill = u'.';
constexpr std::size_t kMaxWidth = 1000;

// The width and the justification that a format begins with.
void ReadFormat(TextView format, std::size_t& width, char16_t& justification) {
    std::size_t at = 0;
    std::size_t number = 0;
    while (at < format.size() && IsDigit(format[at])) {
        number = std::min(number * 10 + static_cast<std::size_t>(format[at++] - u'0'), kMaxWidth);
    }
    if (at > 0) {
        width = number;
    }
    const std::size_t letter = format.find_first_of(u"LRTUlrtu", at);
    if (letter != TextView::npos) {
        justification =
            format[letter] >= u'a' ? static_cast<char16_t>(format[letter] - 32) : format[letter];
    }
}

Text WrittenFormat(std::size_t width, char16_t justification) {
    Text format;
    Number(static_cast<std::int64_t>(width)).AppendTo(format);
    format.push_back(justification);
    return format;
}

Text Filled(Text text, std::size_t width, char16_t fill, bool inFront) {
    const std::size_t room = width - std::min(width, text.size());
    text.insert(inFront ? 0 : text.size(), room, fill);
    return text;
}

void TrimBack(Text& line) {
    line.erase(line.find_last_not_of(u' ') + 1);
}

}  // namespace

Lines PartsOf(TextView text) {
    Lines parts;
    while (true) {
        const std::size_t end = FindInRange(text.data(), text.size(), {kTextMark, kAttributeMark});
        parts.emplace_back(text.substr(0, end));
        if (end == text.size()) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

ReportColumn::ReportColumn(Column column, Environment& environment)
    : column_(std::move(column)), environment_(environment) {
    const DictionaryItem& item = column_.field->Item();
    conversion_ = column_.conversion.value_or(item.conversion);
    width_ = std::min(static_cast<std::size_t>(item.width), kMaxWidth);
    justification_ = item.justification;
    format_ = column_.format.value_or(item.format);
    if (column_.format) {
        ReadFormat(*column_.format, width_, justification_);
    }
    const Text name = item.heading.empty() ? column_.field->Name() : item.heading;
    heading_ = PartsOf(column_.heading.value_or(name));
    const std::size_t asked = width_;
    for (const Text& line : heading_) {
        width_ = std::min(std::max(width_, line.size()), kMaxWidth);
    }
    width_ = std::max<std::size_t>(width_, 1);
    if (format_.empty() || asked == 0) {
        format_ = WrittenFormat(width_, justification_);
    }
    const bool isRight = justification_ == u'R';
    for (Text& line : heading_) {
        line = Filled(line.substr(0, width_), width_, kHeadingFill, isRight);
    }
}

Text ReportColumn::Shown(TextView internal) const {
    return conversion_.empty() ? Text(internal) : Oconv(internal, conversion_, environment_).value;
}

Lines ReportColumn::LayOut(TextView shown) const {
    Lines lines;
    for (const Text& part : PartsOf(shown)) {
        if (justification_ == u'U') {
            lines.push_back(part);
            continue;
        }
        Converted laidOut = Format(part, format_, environment_);
        if (laidOut.status == ConversionStatus::kBadCode) {
            laidOut = Format(part, WrittenFormat(width_, justification_), environment_);
        }
        for (Text& line : PartsOf(laidOut.value)) {
            lines.push_back(Filled(std::move(line), width_, u' ', justification_ == u'R'));
        }
    }
    return lines;
}

Lines SideBySide(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths) {
    // How many lines the values of each number take.
    std::vector<std::size_t> heights;
    std::size_t rows = 0;
    for (const Cell& cell : cells) {
        if (!cell.isAligned) {
            rows = std::max(rows, cell.values.empty() ? 0 : cell.values.front().size());
            continue;
        }
        heights.resize(std::max(heights.size(), cell.values.size()));
        for (std::size_t i = 0; i < cell.values.size(); ++i) {
            heights[i] = std::max(heights[i], cell.values[i].size());
        }
    }
    std::size_t aligned = 0;
    for (const std::size_t height : heights) {
        aligned += height;
    }
    rows = std::max(rows, aligned);
    Lines lines(rows);
    std::size_t left = 0;
    for (std::size_t c = 0; c < cells.size(); ++c) {
        std::size_t row = 0;
        for (std::size_t i = 0; i < cells[c].values.size(); ++i) {
            for (std::size_t n = 0; n < cells[c].values[i].size(); ++n) {
                Text& line = lines[row + n];
                // What ran over the columns before is pushed into one's way, not over it.
                line.resize(std::max(left, line.size() + (line.size() > left ? 1 : 0)), u' ');
                line.append(cells[c].values[i][n]);
            }
            row += cells[c].isAligned ? heights[i] : cells[c].values[i].size();
        }
        left += widths[c] + 1;
    }
    for (Text& line : lines) {
        TrimBack(line);
    }
    return lines;
}

}  // namespace kel::query
