// File variables: each file of a session is opened once and kept until the session disconnects.
#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr short kOpen = 0;
constexpr short kNoFileName = 1;

}  // namespace

short Dbms::open(TextView fileName) {
    if (fileName.empty()) {
        return kNoFileName;
    }
    if (FileVarList().KeyExists(fileName)) {
        return kOpen;
    }
    const auto opener = host();
    const Bstr name(fileName);
    ComPtr<IDispatch> fileVar;
    CallOut([&] { return opener->OpenFile(name.get(), fileVar.put()); });
    // The back-end may have run client code meanwhile.
    if (opener.get() != host_.get()) {
        throw Error(kObjectNotSet);  // a handle of an ended connection is of no use
    }
    if (FileVarList().KeyExists(fileName)) {
        Ignoring([&] { CallOut([&] { return opener->CloseFile(fileVar.inOut()); }); });
        return kOpen;
    }
    FileVarList().Add(Variant(fileVar.get()).get(), fileName);
    return kOpen;
}

STDMETHODIMP Dbms::mvOpen(BSTR fileName, short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = open(View(fileName));
    });
}

ComPtr<IDispatch> Dbms::fileVariable(TextView fileName) noexcept {
    ComPtr<IDispatch> fileVar;
    Ignoring([&] { fileVar = ObjectIn<IDispatch>(FileVarList().ItemByKey(fileName)); });
    return fileVar;
}

STDMETHODIMP Dbms::OpenFileVar(BSTR fileName, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = fileVariable(View(fileName));
    });
}

void Dbms::closeFile(TextView fileName) noexcept {
    Ignoring([&] {
        if (!FileVarList().KeyExists(fileName)) {
            return;
        }
        ComPtr<IDispatch> fileVar = fileVariable(fileName);
        Ignoring([&] {
            const auto closer = host();
            CallOut([&] { return closer->CloseFile(fileVar.inOut()); });
        });
        // Looked up again: closing may have run code that closed it as well.
        if (FileVarList().KeyExists(fileName)) {
            FileVarList().RemoveByKey(fileName);
        }
    });
}

STDMETHODIMP Dbms::mvCloseFile(BSTR fileName) noexcept {
    return ComMethod([&] { closeFile(View(fileName)); });
}

}  // namespace kel::engine
