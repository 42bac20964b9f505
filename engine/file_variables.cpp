// Opening and closing the files of a session.
#include "engine/file_variables.h"

#include "automation/error.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

core::FastCollection& FileVariables::FileVarList() {
    if (!list_) {
        list_ = std::make_unique<core::FastCollection>();
    }
    return *list_;
}

bool FileVariables::open(TextView fileName) {
    if (fileName.empty()) {
        return false;
    }
    if (FileVarList().KeyExists(fileName)) {
        return true;
    }
    const auto opener = host_.host();
    const Bstr name(fileName);
    ComPtr<IDispatch> fileVar;
    CallOut([&] { return opener->OpenFile(name.get(), fileVar.put()); });
    // The back-end may have run client code meanwhile.
    if (!host_.isStill(opener)) {
        throw Error(kObjectNotSet);  // a handle of an ended connection is of no use
    }
    if (FileVarList().KeyExists(fileName)) {
        Ignoring([&] { CallOut([&] { return opener->CloseFile(fileVar.inOut()); }); });
        return true;
    }
    FileVarList().Add(Variant(fileVar.get()).get(), fileName);
    return true;
}

ComPtr<IDispatch> FileVariables::find(TextView fileName) noexcept {
    ComPtr<IDispatch> fileVar;
    Ignoring([&] { fileVar = ObjectIn<IDispatch>(FileVarList().ItemByKey(fileName)); });
    return fileVar;
}

// Taken out of the list first: who opens the file again meanwhile gets a variable of his own.
void FileVariables::close(TextView fileName) noexcept {
    Ignoring([&] {
        if (!FileVarList().KeyExists(fileName)) {
            return;
        }
        ComPtr<IDispatch> fileVar = find(fileName);
        FileVarList().RemoveByKey(fileName);
        const auto closer = host_.host();
        CallOut([&] { return closer->CloseFile(fileVar.inOut()); });
    });
}

void FileVariables::closeAt(long index) noexcept {
    Ignoring([&] { close(FileVarList().Key(index).view()); });
}

void FileVariables::closeAll(_mviHostDLL* host, Taken files) noexcept {
    for (long i = files && host != nullptr ? files->Count() : 0; i >= 1; --i) {
        Ignoring([&] {
            ComPtr<IDispatch> fileVar = files->ItemByIndex(i).object<IDispatch>();
            CallOut([&] { return host->CloseFile(fileVar.inOut()); });
        });
    }
}

}  // namespace kel::engine
