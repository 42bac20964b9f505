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

// Taken out of the list first: who opens the file again meanwhile gets a variable of his own.
void Dbms::closeFile(TextView fileName) noexcept {
    Ignoring([&] {
        if (!FileVarList().KeyExists(fileName)) {
            return;
        }
        ComPtr<IDispatch> fileVar = fileVariable(fileName);
        FileVarList().RemoveByKey(fileName);
        const auto closer = host();
        CallOut([&] { return closer->CloseFile(fileVar.inOut()); });
    });
}

void Dbms::closeFiles(_mviHostDLL* host, List files) noexcept {
    for (long i = files && host != nullptr ? files->Count() : 0; i >= 1; --i) {
        Ignoring([&] {
            ComPtr<IDispatch> fileVar = files->ItemByIndex(i).object<IDispatch>();
            CallOut([&] { return host->CloseFile(fileVar.inOut()); });
        });
    }
}

STDMETHODIMP Dbms::mvCloseFile(BSTR fileName) noexcept {
    return ComMethod([&] { closeFile(View(fileName)); });
}

}  // namespace kel::engine
