// Files and records of the embedded back-end.
#include "hosts/embedded/edges.h"
#include "hosts/embedded/host.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

// What a read says of the record; 0 is read.
constexpr short kMissing = 1;
constexpr short kLocked = 2;

}  // namespace

store::FileNumber Host::fileOf(IDispatch** fileVar) const {
    const auto file = FileVariableObject::From(Require(fileVar));
    if (!file || !file->content.isOpen || connection_ == nullptr ||
        file->content.connection != connection_->number()) {
        throw Error(
            mvOpenNotOpen, kHostSource, L"The file variable is not open in this connection.");
    }
    return file->content.number;
}

STDMETHODIMP Host::mvRead(VARIANT_BOOL readU,
                          BSTR recordNumber,
                          IDispatch** fileVar,
                          short* status,
                          IDispatch** result) noexcept {
    return HostMember(L"mvRead", [&] {
        Out out{result};
        Require(status);
        const auto held = connection();
        store::Store& records = held->store();
        const store::FileNumber file = fileOf(fileVar);
        const text::TextView id = Units(recordNumber);
        // A lock may be taken on a record that does not exist, so it comes first.
        if (readU != VARIANT_FALSE && records.Lock(file, id, held->lockWaitMs())) {
            *status = kLocked;
            return;
        }
        text::Text record;
        if (!records.Read(file, id, record)) {
            *status = kMissing;
            return;
        }
        out = Make<RecordBufferObject>(text::DynamicArray(std::move(record)));
        *status = 0;
    });
}

STDMETHODIMP Host::mvWrite(VARIANT_BOOL writeU,
                           BSTR recordNumber,
                           IDispatch** fileVar,
                           IDispatch** array) noexcept {
    return HostMember(L"mvWrite", [&] {
        const auto held = connection();
        store::Store& records = held->store();
        const store::FileNumber file = fileOf(fileVar);
        const auto buffer = RecordBufferObject::From(Require(array));
        if (!buffer) {
            throw Error(kTypeMismatch,
                        L"kelos1::mvWrite",
                        L"The object is no record buffer of this back-end.");
        }
        text::Text storage;
        const text::TextView text = buffer->content.array.View({}, storage);
        records.Write(
            file,
            Units(recordNumber),
            text,
            writeU != VARIANT_FALSE ? store::AfterWrite::kKeep : store::AfterWrite::kRelease);
    });
}

STDMETHODIMP Host::mvDelete(BSTR recordNumber, IDispatch** fileVar) noexcept {
    return HostMember(L"mvDelete", [&] {
        // A missing record is no failure.
        connection()->store().Delete(fileOf(fileVar), Units(recordNumber));
    });
}

STDMETHODIMP Host::mvRelease(IDispatch** fileVar, BSTR recordNumber) noexcept {
    return HostMember(L"mvRelease",
                      [&] { connection()->store().Unlock(fileOf(fileVar), Units(recordNumber)); });
}

STDMETHODIMP Host::OpenFile(BSTR fileName, IDispatch** result) noexcept {
    return HostMember(L"OpenFile", [&] {
        Out out{result};
        const auto number = connection()->store().FindFile(Units(fileName));
        if (!number) {
            throw Error(
                mvOpenNotFound,
                L"kelos1::OpenFile",
                Text(L"There is no file \"").append(View(fileName)).append(L"\" in this account."));
        }
        out = Make<FileVariableObject>(FileVariable{*number, connection()->number(), true});
    });
}

STDMETHODIMP Host::CloseFile(IDispatch** fileVar) noexcept {
    return HostMember(L"CloseFile", [&] {
        fileOf(fileVar);
        FileVariableObject::From(*fileVar)->content.isOpen = false;
    });
}

}  // namespace kel::embedded
