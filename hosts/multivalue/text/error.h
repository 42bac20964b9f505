// The one exception of the portable library and of the stores below it.
//
// What is ordinary ("no such record", "locked by somebody else") is an answer, not an Error. The
// text is a whole sentence for a user and names the object in question.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include "hosts/multivalue/text/text.h"

namespace kel::text {

enum class ErrorKind {
    kBadArgument,    // an id, a name or a position outside its rules
    kTooLong,        // a record or an element longer than can be kept
    kNoSuchFile,     // the file was never there, or another session deleted it
    kFileExists,     // a file of that name is there already
    kCannotOpen,     // the account's path cannot be opened or created
    kNotAnAccount,   // the path holds something else
    kNewerFormat,    // an account written by a later version of this program
    kReadOnly,       // a change was asked of an account that is open for reading only
    kBusy,           // another process kept the account busy for longer than the bounded wait
    kFull,           // disk full, or the account's own size limit reached
    kDamaged,        // the stored data contradicts itself
    kInputOutput,    // the system failed to read or write
    kMisuse,         // calls in an order the contract rules out
    kNoSuchProgram,  // no stored program of the name
    kIndexExists,    // the file has an index of that name already
    kNoSuchIndex,    // the file has no index of that name
    kStaleIndex,     // the index was not kept by a session that could not, and awaits rebuilding
    kBadData,        // data to be imported that does not follow its form
    kSeveralNames,   // the account's file has several names (hard links)
    kNetworkDrive,   // the account lies on another machine
    kNotTrusted,     // a program may not run here, or not do what it asks for
    kTimeLimit,      // a call took longer than its client allows
    kLocked,         // another session has locked what was to be changed
    kMomentTooLong   // too much was written while a sentence read
};

class Error : public std::exception {
public:
    Error(ErrorKind kind, Text text) : kind_(kind), text_(std::move(text)) {
        for (char16_t unit : text_) {
            narrow_.push_back(unit < 0x7F ? static_cast<char>(unit) : '?');
        }
    }

    ErrorKind kind() const noexcept { return kind_; }
    const Text& text() const noexcept { return text_; }
    // The text with everything outside ASCII as '?': for logs and test output.
    const char* what() const noexcept override { return narrow_.c_str(); }

private:
    ErrorKind kind_;
    Text text_;
    std::string narrow_;
};

}  // namespace kel::text
