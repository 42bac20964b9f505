// The registered embedded back-end as the engine meets it: made by its programmatic identifier,
// called through the back-end interface.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>

#include "kelSDK.h"
#include "tests/support/environment.h"
#include "tests/support/errors.h"

namespace kel::tests {

// Numbers that only this back-end raises.
inline constexpr long kCannotOpen = automation::kObjectError + 0x204;
inline constexpr long kNotAnAccount = automation::kObjectError + 0x205;
inline constexpr long kReadOnlyAccount = automation::kObjectError + 0x207;

// Keeps a DLL of the product that COM has loaded until the program ends. Its C++ runtime holds some
// kernel handles for each thread that met an exception in it, and loses them when it is unloaded.
void KeepLoaded(const wchar_t* dll);

// One session with an account, with plain values for arguments and results. A failed call leaves
// its error in lastError, a good one empties it.
class EmbeddedSession {
public:
    EmbeddedSession();

    _mviHostDLL* operator->() const { return host_.get(); }
    _mviHostDLL* get() const { return host_.get(); }

    struct Setting {
        const wchar_t* name;
        Text value;
    };
    // Sets the properties, Database first, and connects. The failure of the first step that fails.
    ErrorFields connect(TextView path, std::initializer_list<Setting> settings = {});
    bool isConnected() const;
    bool hasFailed() const;

    // What the sentence answered; "codes: output".
    Text execute(TextView sentence);
    ComPtr<IDispatch> open(TextView fileName);

    // The members on records. They leave `file` and `buffer` as the back-end does.
    short read(TextView id, bool lock = false);
    ErrorFields write(TextView id, bool keepLock = false);
    ErrorFields remove(TextView id);
    ErrorFields release(TextView id);
    ErrorFields setBuffer(TextView text);
    Text bufferText();

    ComPtr<IDispatch> file;
    ComPtr<IDispatch> buffer;
    ErrorFields lastError;

private:
    HRESULT noted(HRESULT code);

    ComPtr<_mviHostDLL> host_;
};

// A folder with an account of one file, CUST, and a session with it.
class EmbeddedTest : public testing::Test {
protected:
    EmbeddedTest();

    TempFolder folder;
    const Text account = folder / L"test.account";
    EmbeddedSession session;
};

}  // namespace kel::tests
