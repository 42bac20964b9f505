// Errors to and from what crosses an interface: HRESULT, error object, the standard texts.
#include "automation/error.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "automation/com_ptr.h"
#include "automation/module.h"

namespace kel::automation {
namespace {

constexpr long kNumberBase = static_cast<long>(0x800A0000L);
constexpr long kMaxNumber = 0xFFFF;

struct NumberText {
    long number;
    const wchar_t* text;
};

// The texts that automation languages show for these numbers.
constexpr auto kStandardTexts = std::to_array<NumberText>({
    {kInvalidCall, L"Invalid procedure call or argument"},
    {kOverflow, L"Overflow"},
    {kOutOfMemory, L"Out of memory"},
    {kSubscriptOutOfRange, L"Subscript out of range"},
    {11, L"Division by zero"},
    {kTypeMismatch, L"Type mismatch"},
    {53, L"File not found"},
    {70, L"Permission denied"},
    {kObjectNotSet, L"Object variable or With block variable not set"},
    {380, L"Invalid property value"},
    {kInvalidArrayIndex, L"Invalid property array index"},
    {kSetReadOnly, L"Set not supported (read-only property)"},
    {kSetNotPermitted, L"Set not permitted"},
    {424, L"Object required"},
    {kCannotCreateObject, L"ActiveX component can't create object"},
    {kNoInterface, L"Class does not support Automation or does not support expected interface"},
    {kMemberNotFound, L"Object doesn't support this property or method"},
    {445, L"Object doesn't support this action"},
    {448, L"Named argument not found"},
    {449, L"Argument not optional"},
    {450, L"Wrong number of arguments or invalid property assignment"},
    {kKeyExists, L"This key is already associated with an element of this collection"},
});

// The platform's message for an HRESULT, without the line end it puts there.
Text PlatformText(HRESULT code) {
    std::array<wchar_t, 512> buffer{};
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                  nullptr,
                                  static_cast<DWORD>(code),
                                  0,
                                  buffer.data(),
                                  static_cast<DWORD>(buffer.size()),
                                  nullptr);
    while (length > 0 && (buffer[length - 1] == L'\n' || buffer[length - 1] == L'\r')) {
        --length;
    }
    return length > 0 ? Text(buffer.data(), length) : Text(L"Automation error");
}

// A text for the platform's error object, which would end it at its first zero.
Text WithoutZeros(TextView text) {
    Text result(text);
    std::replace(result.begin(), result.end(), L'\0', L' ');
    return result;
}

Text TakeField(IErrorInfo& info, HRESULT (STDMETHODCALLTYPE IErrorInfo::*getter)(BSTR*)) {
    Bstr field;
    return SUCCEEDED((info.*getter)(field.put())) ? WithoutZeros(field.view()) : Text();
}

}  // namespace

HRESULT CodeOfNumber(long number) noexcept {
    return number >= 1 && number <= kMaxNumber ? static_cast<HRESULT>(kNumberBase + number)
                                               : static_cast<HRESULT>(number);
}

long NumberOfCode(HRESULT code) noexcept {
    const long offset = static_cast<long>(code) - kNumberBase;
    return code < 0 && offset >= 1 && offset <= kMaxNumber ? offset : static_cast<long>(code);
}

Text StandardText(long number) {
    const auto* found = std::find_if(kStandardTexts.begin(),
                                     kStandardTexts.end(),
                                     [&](const NumberText& row) { return row.number == number; });
    return found != kStandardTexts.end() ? Text(found->text) : PlatformText(CodeOfNumber(number));
}

Error::Error(long number) : Error(number, ThisModule().name) {}

Error::Error(long number, TextView source, TextView description)
    : number_(number),
      source_(WithoutZeros(source)),
      description_(description.empty() ? StandardText(number) : WithoutZeros(description)) {}

Error Error::FromCode(HRESULT code) {
    return Error(NumberOfCode(code));
}

Error Error::FromCall(HRESULT code) {
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, info.put()) != S_OK || !info) {
        return FromCode(code);
    }
    Error result;
    result.number_ = NumberOfCode(code);
    result.source_ = TakeField(*info, &IErrorInfo::GetSource);
    result.description_ = TakeField(*info, &IErrorInfo::GetDescription);
    result.helpFile_ = TakeField(*info, &IErrorInfo::GetHelpFile);
    if (FAILED(info->GetHelpContext(&result.helpContext_))) {
        result.helpContext_ = 0;
    }
    return result;
}

Error Error::withSource(TextView source) const {
    Error result = *this;
    result.source_ = WithoutZeros(source);
    return result;
}

Error Error::withDescription(TextView description) const {
    Error result = *this;
    result.description_ = WithoutZeros(description);
    return result;
}

HRESULT Error::publish() const noexcept {
    ComPtr<ICreateErrorInfo> info;
    if (FAILED(CreateErrorInfo(info.put()))) {
        SetErrorInfo(0, nullptr);
    } else {
        // Each setter copies; a field that finds no memory stays empty.
        info->SetGUID(GUID_NULL);
        info->SetSource(const_cast<LPOLESTR>(source_.c_str()));
        info->SetDescription(const_cast<LPOLESTR>(description_.c_str()));
        if (!helpFile_.empty()) {
            info->SetHelpFile(const_cast<LPOLESTR>(helpFile_.c_str()));
        }
        info->SetHelpContext(helpContext_);
        SetErrorInfo(0, info.as<IErrorInfo>().get());
    }
    const HRESULT code = CodeOfNumber(number_);
    return FAILED(code) ? code : E_FAIL;
}

void Check(HRESULT code) {
    if (code == E_OUTOFMEMORY) {
        throw std::bad_alloc();
    }
    if (FAILED(code)) {
        throw Error::FromCode(code);
    }
}

Error CurrentError() {
    try {
        throw;
    } catch (const Error& error) {
        return error;
    } catch (const std::bad_alloc&) {
        return Error(kOutOfMemory);
    } catch (const std::length_error&) {
        return Error(kOutOfMemory);
    } catch (...) {
        return Error(E_UNEXPECTED, ThisModule().name, L"Unexpected internal error");
    }
}

HRESULT FailureFromCurrentException() noexcept {
    try {
        return CurrentError().publish();
    } catch (...) {
        SetErrorInfo(0, nullptr);
        return CodeOfNumber(kOutOfMemory);
    }
}

}  // namespace kel::automation
