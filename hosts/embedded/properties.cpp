// The connection properties: names, defaults, and what makes an entry wrong.
#include "hosts/embedded/properties.h"

#include <algorithm>

#include "automation/error.h"
#include "hosts/embedded/edges.h"

namespace kel::embedded {

using automation::ComPtr;
using automation::Error;
using automation::Text;
using automation::TextView;

namespace {

constexpr const wchar_t* kSource = L"kelos1::PropertyValue";
constexpr const wchar_t* kString = L"String";
constexpr const wchar_t* kObject = L"Object";

enum Property : std::size_t {
    kDatabase,
    kUser,
    kLockWait,
    kReadOnly,
    kApplication,
    kFamily,
    kDates,
    kDurability,
    kPrograms,
    kTimeLimit
};

constexpr std::array<ConnectionProperties::Description, ConnectionProperties::kCount> kTable{{
    {L"Database", kString, L"Path of the account file; a missing one is created", L""},
    {L"User", kString, L"Name shown to others who meet a lock of this session", L""},
    {L"LockWait", kString, L"Seconds that a read with lock waits for a locked record", L"0"},
    {L"ReadOnly", kString, L"True opens the account for reading only", L"False"},
    {L"Application", kObject, L"Object that stored programs see as Application", L""},
    {L"Family",
     kString,
     L"Uni or R83: whose dictionaries are written, how sentences are read",
     L"Uni"},
    {L"Dates",
     kString,
     L"MonthFirst or DayFirst: order of dates written with separators",
     L"MonthFirst"},
    {L"Durability",
     kString,
     L"Full, Normal or Off: whether writes wait for the disk to survive a power failure",
     L"Full"},
    {L"Programs",
     kString,
     L"None, Sealed or Full: whether stored programs run, and whether beyond the account",
     L"Sealed"},
    {L"TimeLimit",
     kString,
     L"Seconds that a sentence or program may take before it is ended and undone; 0: no limit",
     L"0"},
}};

template <typename Value>
struct Word {
    const wchar_t* word;
    Value value;
};
constexpr std::array<Word<bool>, 8> kTruthWords{{{L"true", true},
                                                 {L"yes", true},
                                                 {L"1", true},
                                                 {L"-1", true},
                                                 {L"false", false},
                                                 {L"no", false},
                                                 {L"0", false},
                                                 {L"", false}}};
constexpr std::array<Word<conversion::Family>, 2> kFamilies{
    {{L"uni", conversion::Family::kUni}, {L"r83", conversion::Family::kR83}}};
constexpr std::array<Word<conversion::DateOrder>, 2> kDateOrders{
    {{L"monthfirst", conversion::DateOrder::kMonthFirst},
     {L"dayfirst", conversion::DateOrder::kDayFirst}}};
constexpr std::array<Word<Durability>, 3> kDurabilities{
    {{L"full", Durability::kFull}, {L"normal", Durability::kNormal}, {L"off", Durability::kOff}}};

constexpr std::array<Word<ProgramTrust>, 3> kProgramTrusts{{{L"none", ProgramTrust::kNone},
                                                            {L"sealed", ProgramTrust::kSealed},
                                                            {L"full", ProgramTrust::kFull}}};

[[noreturn]] void Refuse(const Text& text) {
    throw Error(automation::kInvalidCall, kSource, text);
}

[[noreturn]] void RefuseValue(std::size_t index, const Text& value, const wchar_t* expected) {
    Refuse(Text(L"The property ") + kTable[index].name + L" takes " + expected + L", not \"" +
           value + L"\".");
}

// What one of the words for a property means; throws for another.
template <typename Words>
auto Meaning(const Words& words, std::size_t index, const Text& text, const wchar_t* expected) {
    const Text lowered = automation::Lower(text);
    const auto found = std::find_if(
        words.begin(), words.end(), [&](const auto& row) { return lowered == row.word; });
    if (found == words.end()) {
        RefuseValue(index, text, expected);
    }
    return found->value;
}

}  // namespace

const ConnectionProperties::Description& ConnectionProperties::At(short number) {
    if (number < 1 || number > kCount) {
        throw Error(automation::kSubscriptOutOfRange,
                    L"kelos1::GetPropertyName",
                    L"There is no connection property number " + automation::DecimalText(number) +
                        L"; they are numbered from 1 to " + automation::DecimalText(kCount) + L".");
    }
    return kTable[static_cast<std::size_t>(number - 1)];
}

const ConnectionProperties::Description& ConnectionProperties::Named(TextView name) {
    const auto found = std::find_if(kTable.begin(), kTable.end(), [&](const Description& row) {
        return automation::LowerEquals(name, automation::Lower(row.name));
    });
    if (found == kTable.end()) {
        Refuse(Text(L"There is no connection property \"").append(name).append(L"\"."));
    }
    return *found;
}

std::size_t ConnectionProperties::indexOf(TextView name, bool isObject) {
    const Description& row = Named(name);
    if ((TextView(row.type) == kObject) != isObject) {
        Refuse(Text(L"The property ") + row.name +
               (isObject ? L" is a text, not an object." : L" is an object, not a text."));
    }
    return static_cast<std::size_t>(&row - kTable.data());
}

const Text& ConnectionProperties::text(TextView name) const {
    return texts_[indexOf(name, false)];
}

void ConnectionProperties::setText(TextView name, TextView value) {
    texts_[indexOf(name, false)] = value;
}

ComPtr<IDispatch> ConnectionProperties::object(TextView name) const {
    indexOf(name, true);
    return application_;
}

void ConnectionProperties::setObject(TextView name, IDispatch* value) {
    indexOf(name, true);
    application_ = ComPtr<IDispatch>(value);
}

Text ConnectionProperties::effective(std::size_t index) const {
    return texts_[index].empty() ? Text(kTable[index].fallback) : texts_[index];
}

conversion::Family ConnectionProperties::family() const {
    return automation::LowerEquals(texts_[kFamily], L"r83") ? conversion::Family::kR83
                                                            : conversion::Family::kUni;
}

ConnectionOptions ConnectionProperties::options() const {
    if (texts_[kDatabase].empty()) {
        Refuse(L"The property Database is empty; it takes the path of the account file.");
    }
    ConnectionOptions options;
    options.path = Units(TextView(texts_[kDatabase]));
    options.store = storeOptions();
    options.family = Meaning(kFamilies, kFamily, effective(kFamily), L"Uni or R83");
    options.dateOrder = Meaning(kDateOrders, kDates, effective(kDates), L"MonthFirst or DayFirst");
    options.lockWaitMs = milliseconds(kLockWait);
    options.timeLimitMs = milliseconds(kTimeLimit);
    options.programs =
        Meaning(kProgramTrusts, kPrograms, effective(kPrograms), L"None, Sealed or Full");
    options.application = application_;
    return options;
}

StoreOptions ConnectionProperties::storeOptions() const {
    StoreOptions options;
    options.readOnly = Meaning(kTruthWords, kReadOnly, effective(kReadOnly), L"True or False");
    options.durability =
        Meaning(kDurabilities, kDurability, effective(kDurability), L"Full, Normal or Off");
    options.user = Units(TextView(texts_[kUser]));
    return options;
}

std::uint32_t ConnectionProperties::milliseconds(std::size_t index) const {
    constexpr double kLongestSeconds = 86400;
    constexpr double kMilliseconds = 1000;
    const Text text = effective(index);
    const automation::Bstr copy(text);
    double seconds = 0;
    // Written with a point whatever the user's language is: it is a setting, not an entry.
    constexpr LCID kNeutralEnglish =
        MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT);
    // The platform would read up to a zero and leave out what follows.
    if (text.find(L'\0') != Text::npos ||
        FAILED(VarR8FromStr(copy.get(), kNeutralEnglish, 0, &seconds)) || seconds < 0 ||
        seconds > kLongestSeconds) {
        RefuseValue(index, text, L"a number of seconds from 0 to 86400");
    }
    return static_cast<std::uint32_t>(seconds * kMilliseconds);
}

}  // namespace kel::embedded
