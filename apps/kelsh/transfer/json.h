// JSON (RFC 8259): objects of scalars and arrays, read one by one, and texts written.
//
// By hand, for what parsers at hand do not give: a lone surrogate comes in as its escape, so that
// whatever was exported comes back (they refuse the file); numbers stay as they are written, -0
// too; a record with a fault is passed over and the next one read; faults name the line.
#pragma once

#include <istream>
#include <optional>
#include <string>

#include "apps/kelsh/transfer/rows.h"
#include "apps/kelsh/transfer/utf8.h"

namespace kel::transfer {

class JsonReader final : public RowReader {
public:
    explicit JsonReader(std::istream& data);

    bool Next(InputRow& row) override;

private:
    void SkipBlanks();
    void Expect(char wanted);
    [[noreturn]] void Fail(TextView text) const;
    void ReadObject(InputRow& row);
    void ReadCell(InputCell& cell);
    template <typename Element>
    void ReadArray(Element element);
    bool ReadScalar(Text& text);
    void ReadString(Text& text);
    std::int32_t ReadHex();
    void SkipNested();
    void Misfit(const InputCell& cell);

    Utf8Reader reader_;
    bool inArray_ = false;
    bool isFirst_ = true;
    std::uint64_t line_ = 0;
    std::optional<RowFault> misfit_;  // the row's first value of a kind that has no place
};

bool IsJsonNumber(TextView text);
void AppendJsonText(std::string& bytes, TextView text);

}  // namespace kel::transfer
