// The texts of the stored programs.
#include "apps/atlas/programs.h"

namespace kel::atlas {
namespace {

// Both are called with id, record, parameters and value, and may change each of them.
constexpr const wchar_t* kTodayText =
    LR"(' Today, as databases count days, for a field that is empty.
Sub Main(id, record, parameters, value)
    If value = "" Then value = CStr(CLng(Date) - 24837)  ' day 0 is 31 December 1967
End Sub)";

constexpr const wchar_t* kCurrencyText =
    LR"(' Takes a currency that there is, in capitals; refuses any other.
Sub Main(id, record, parameters, value)
    value = UCase(value)
    If value = "" Then Exit Sub
    If Not Account.Open("CURRENCIES").Exists(value) Then
        Err.Raise vbObjectError + 1, "FORM.CURRENCY", "There is no currency " & value & "."
    End If
End Sub)";

// The lines of a program are the attributes of its record.
Text Lines(TextView text) {
    Text record(text);
    for (wchar_t& unit : record) {
        unit = unit == L'\n' ? *kAttributeMark : unit;
    }
    return record;
}

}  // namespace

std::vector<Record> StoredPrograms() {
    return {{L"FORM.CURRENCY.vbs", Lines(kCurrencyText)}, {L"FORM.TODAY.vbs", Lines(kTodayText)}};
}

}  // namespace kel::atlas
