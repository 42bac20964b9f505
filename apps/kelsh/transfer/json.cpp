// Objects read one by one without holding the rest, and texts written.
#include "apps/kelsh/transfer/json.h"

#include "hosts/multivalue/text/code_points.h"

namespace kel::transfer {

namespace {

bool IsDigit(std::int32_t unit) {
    return unit >= '0' && unit <= '9';
}

}  // namespace

JsonReader::JsonReader(std::istream& data) : reader_(data) {
    SkipBlanks();
    if (reader_.Peek() == '[') {
        reader_.Take();
        inArray_ = true;
    }
}

void JsonReader::SkipBlanks() {
    while (reader_.Peek() == ' ' || reader_.Peek() == '\t' || reader_.Peek() == '\r' ||
           reader_.Peek() == '\n') {
        reader_.Take();
    }
}

void JsonReader::Fail(TextView text) const {
    throw RowFault{{reader_.line(), {}, Text(text)}, false};
}

void JsonReader::Expect(char wanted) {
    SkipBlanks();
    if (reader_.Peek() != wanted) {
        Fail(u"The data is not JSON: \"" + Text(1, static_cast<char16_t>(wanted)) +
             u"\" is missing.");
    }
    reader_.Take();
}

bool JsonReader::Next(InputRow& row) {
    SkipBlanks();
    if (inArray_) {
        if (reader_.Peek() == ']') {
            reader_.Take();
            SkipBlanks();
            inArray_ = false;
            if (reader_.Peek() != Utf8Reader::kEnd) {
                Fail(u"There is something behind the array of records.");
            }
            return false;
        }
        if (!isFirst_) {
            Expect(',');
            SkipBlanks();
        }
        isFirst_ = false;
    } else if (reader_.Peek() == Utf8Reader::kEnd) {
        return false;
    }
    line_ = reader_.line();
    row.line = line_;
    row.cells.clear();
    misfit_.reset();
    ReadObject(row);
    if (misfit_) {
        throw RowFault(*misfit_);
    }
    return true;
}

void JsonReader::ReadObject(InputRow& row) {
    Expect('{');
    SkipBlanks();
    if (reader_.Peek() == '}') {
        reader_.Take();
        return;
    }
    for (;;) {
        SkipBlanks();
        InputCell& cell = row.cells.emplace_back();
        cell.isParted = true;
        ReadString(cell.column);
        Expect(':');
        ReadCell(cell);
        SkipBlanks();
        if (reader_.Peek() != ',') {
            return Expect('}');
        }
        reader_.Take();
    }
}

void JsonReader::Misfit(const InputCell& cell) {
    if (!misfit_) {
        misfit_ = RowFault{
            {line_, cell.column, u"An object, or an array below two others, has no place here."},
            true};
    }
    SkipNested();
}

// Elements up to and with the closing bracket.
template <typename Element>
void JsonReader::ReadArray(Element element) {
    Expect('[');
    SkipBlanks();
    if (reader_.Peek() == ']') {
        reader_.Take();
        return;
    }
    for (;;) {
        SkipBlanks();
        element();
        SkipBlanks();
        if (reader_.Peek() != ',') {
            return Expect(']');
        }
        reader_.Take();
    }
}

void JsonReader::ReadCell(InputCell& cell) {
    SkipBlanks();
    const auto readPart = [&](std::vector<Text>& subvalues) {
        if (!ReadScalar(subvalues.emplace_back())) {
            Misfit(cell);
        }
    };
    if (reader_.Peek() != '[') {
        return readPart(cell.parts.emplace_back());
    }
    ReadArray([&] {
        std::vector<Text>& subvalues = cell.parts.emplace_back();
        if (reader_.Peek() == '[') {
            ReadArray([&] { readPart(subvalues); });
        } else {
            readPart(subvalues);
        }
    });
}

// False, with nothing read, before an array or an object.
bool JsonReader::ReadScalar(Text& text) {
    const std::int32_t first = reader_.Peek();
    if (first == '{' || first == '[') {
        return false;
    }
    if (first == '"') {
        ReadString(text);
        return true;
    }
    for (std::int32_t next = first; IsDigit(next) || next == '-' || next == '+' || next == '.' ||
                                    (next >= 'a' && next <= 'z') || next == 'E';
         next = reader_.Peek()) {
        AppendPoint(text, static_cast<char32_t>(reader_.Take()));
    }
    if (text == u"null") {
        text.clear();
    } else if (text == u"true" || text == u"false") {
        text = text == u"true" ? u"1" : u"0";
    } else if (!IsJsonNumber(text)) {
        Fail(u"The data is not JSON: a value is missing, or is no value.");
    }
    return true;
}

std::int32_t JsonReader::ReadHex() {
    std::int32_t unit = 0;
    for (int i = 0; i < 4; ++i) {
        const std::int32_t c = reader_.Take();
        const std::int32_t lower = c | 0x20;
        if (!IsDigit(c) && (lower < 'a' || lower > 'f')) {
            Fail(u"The data is not JSON: \"\\u\" takes four hexadecimal digits.");
        }
        unit = unit * 16 + (IsDigit(c) ? c - '0' : lower - 'a' + 10);
    }
    return unit;
}

void JsonReader::ReadString(Text& text) {
    Expect('"');
    for (;;) {
        const std::int32_t point = reader_.Peek();
        if (point < 0x20) {  // the end too
            Fail(u"The data is not JSON: a text does not end on its line.");
        }
        reader_.Take();
        if (point == '"') {
            return;
        }
        if (point != '\\') {
            AppendPoint(text, static_cast<char32_t>(point));
            continue;
        }
        const std::int32_t escaped = reader_.Take();
        switch (escaped) {
            case '"':
            case '\\':
            case '/':
                AppendPoint(text, static_cast<char32_t>(escaped));
                break;
            case 'b':
                text.push_back(u'\b');
                break;
            case 'f':
                text.push_back(u'\f');
                break;
            case 'n':
                text.push_back(u'\n');
                break;
            case 'r':
                text.push_back(u'\r');
                break;
            case 't':
                text.push_back(u'\t');
                break;
            case 'u':
                AppendPoint(text, static_cast<char32_t>(ReadHex()));
                break;
            default:
                Fail(u"The data is not JSON: there is no such escape.");
        }
    }
}

// Over an array or object, however deep, without recursion.
void JsonReader::SkipNested() {
    std::uint64_t depth = 0;
    Text ignored;
    do {
        const std::int32_t next = reader_.Peek();
        if (next == Utf8Reader::kEnd) {
            Fail(u"The data is not JSON: it ends within a record.");
        }
        if (next == '"') {
            ignored.clear();
            ReadString(ignored);
            continue;
        }
        depth += next == '{' || next == '[' ? 1 : 0;
        depth -= next == '}' || next == ']' ? 1 : 0;
        reader_.Take();
    } while (depth != 0);
}

bool IsJsonNumber(TextView text) {
    std::size_t i = 0;
    const auto digits = [&] {
        const std::size_t from = i;
        while (i < text.size() && IsDigit(text[i])) {
            ++i;
        }
        return i - from;
    };
    i += i < text.size() && text[i] == u'-' ? 1 : 0;
    const bool startsWithZero = i < text.size() && text[i] == u'0';
    const std::size_t whole = digits();
    if (whole == 0 || (startsWithZero && whole > 1)) {
        return false;
    }
    if (i < text.size() && text[i] == u'.') {
        ++i;
        if (digits() == 0) {
            return false;
        }
    }
    if (i < text.size() && (text[i] == u'e' || text[i] == u'E')) {
        ++i;
        i += i < text.size() && (text[i] == u'-' || text[i] == u'+') ? 1 : 0;
        if (digits() == 0) {
            return false;
        }
    }
    return i == text.size();
}

void AppendJsonText(std::string& bytes, TextView text) {
    bytes.push_back('"');
    std::size_t plain = 0;  // where what needs no escape begins
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] >= 0x20 && text[i] != u'"' && text[i] != u'\\') {
            continue;
        }
        AppendUtf8(bytes, text.substr(plain, i - plain), LoneSurrogate::kEscape);
        plain = i + 1;
        if (i == text.size()) {
            break;
        }
        constexpr char kDigits[] = "0123456789abcdef";
        switch (text[i]) {
            case u'\n':
                bytes += "\\n";
                break;
            case u'\r':
                bytes += "\\r";
                break;
            case u'\t':
                bytes += "\\t";
                break;
            case u'"':
            case u'\\':
                bytes.push_back('\\');
                bytes.push_back(static_cast<char>(text[i]));
                break;
            default:
                bytes += "\\u00";
                bytes.push_back(kDigits[text[i] >> 4]);
                bytes.push_back(kDigits[text[i] & 0xF]);
        }
    }
    bytes.push_back('"');
}

}  // namespace kel::transfer
