// The one exception type of the component and its way across the COM boundary.
//
// Numbers: a negative number is an HRESULT as it stands; 1 to 65535 travels as 0x800A0000 plus the
// number, which every automation client shows as the plain number again.
#pragma once

#include <exception>

#include "automation/bstr.h"

namespace kel::automation {

// Standard numbers of automation clients, with their classic texts (StandardText).
inline constexpr long kInvalidCall = 5;
inline constexpr long kOverflow = 6;
inline constexpr long kOutOfMemory = 7;
inline constexpr long kSubscriptOutOfRange = 9;
inline constexpr long kTypeMismatch = 13;
inline constexpr long kObjectNotSet = 91;
inline constexpr long kInvalidArrayIndex = 381;
inline constexpr long kSetReadOnly = 383;
inline constexpr long kSetNotPermitted = 387;
inline constexpr long kCannotCreateObject = 429;
inline constexpr long kNoInterface = 430;
inline constexpr long kMemberNotFound = 438;
inline constexpr long kKeyExists = 457;

// First number of the range that classes use for errors of their own.
inline constexpr long kObjectError = static_cast<long>(0x80040000L);

// A failure with the five fields of the automation error object. Immutable but for the source,
// which a member may replace when it raises a foreign error under its own name.
class Error final : public std::exception {
public:
    // A standard number with its classic text and the component's own name as source.
    explicit Error(long number);
    // The component's own error. An empty description stands for the number's standard text.
    Error(long number, TextView source, TextView description = {});
    // A failed HRESULT without further information: the platform's message for it.
    static Error FromCode(HRESULT code);
    // A failed HRESULT with the thread's error object, which is consumed.
    static Error FromCall(HRESULT code);

    long number() const noexcept { return number_; }
    const Text& source() const noexcept { return source_; }
    const Text& description() const noexcept { return description_; }
    const char* what() const noexcept override { return "automation error"; }

    Error withSource(TextView source) const;
    Error withDescription(TextView description) const;

    // Leaves the error in the thread's error object and answers the HRESULT to return. Without
    // memory for the object the HRESULT alone must do.
    HRESULT publish() const noexcept;

private:
    Error() = default;

    long number_ = 0;
    Text source_;
    Text description_;
    Text helpFile_;
    DWORD helpContext_ = 0;
};

HRESULT CodeOfNumber(long number) noexcept;
long NumberOfCode(HRESULT code) noexcept;

// Classic text of a standard number; for other numbers the platform's message for the HRESULT.
Text StandardText(long number);

// Throws Error::FromCode for a failed platform call, std::bad_alloc for E_OUTOFMEMORY.
void Check(HRESULT code);

// Calls a member of a foreign automation object (a back-end, or another class of the component
// through its interface); throws Error::FromCall when it fails. The thread's error object is
// emptied first, so that nothing left over from an earlier call is taken for this one's.
// A C++ exception that escapes the callee is a failure of the callee, not of the component.
template <typename Call>
void CallOut(Call&& call) {
    SetErrorInfo(0, nullptr);
    HRESULT code = S_OK;
    try {
        code = call();
    } catch (...) {
        code = E_UNEXPECTED;
    }
    if (FAILED(code)) {
        throw Error::FromCall(code);
    }
}

// The exception being handled as an Error: the only list of catches. Throws std::bad_alloc when not
// even that can be made.
Error CurrentError();

// Turns the exception being handled into an HRESULT plus error object; without memory for one there
// is none, not that of an earlier failure either. Success says nothing of the error object: callers
// look at it after failures only, and emptying it costs as much as a small member's own work.
HRESULT FailureFromCurrentException() noexcept;

// Runs a step whose failure is to be skipped silently; answers whether it succeeded.
template <typename Step>
bool Ignoring(Step&& step) noexcept {
    try {
        step();
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace kel::automation
