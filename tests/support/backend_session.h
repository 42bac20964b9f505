// A registered back-end as the engine meets it: made by its programmatic identifier, called through
// the back-end interface.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>

#include "kelSDK.h"
#include "tests/support/errors.h"

namespace kel::tests {

// Keeps a DLL of the product that COM has loaded until the program ends. Its C++ runtime holds some
// kernel handles for each thread that met an exception in it, and loses them when it is unloaded.
void KeepLoaded(const wchar_t* dll);

// Which back-end, by its own names.
struct BackendKind {
    const wchar_t* name;      // of its DLL, and of its class in front of ".IHostDLL"
    const wchar_t* property;  // says which database to connect to
};

// One session with a database, with plain values for arguments and results. A failed call leaves
// its error in lastError, a good one empties it.
class BackendSession {
public:
    explicit BackendSession(const BackendKind& kind);

    _mviHostDLL* operator->() const { return host_.get(); }
    _mviHostDLL* get() const { return host_.get(); }

    struct Setting {
        const wchar_t* name;
        Text value;
    };
    // Sets the properties, that of the database first, and connects. The failure of the first step
    // that fails.
    ErrorFields connect(TextView database, std::initializer_list<Setting> settings = {});
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
    const wchar_t* property_;
};

}  // namespace kel::tests
