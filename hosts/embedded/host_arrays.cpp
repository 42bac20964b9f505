// Record buffers of the embedded back-end.
#include "hosts/embedded/edges.h"
#include "hosts/embedded/host.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

// The buffer behind an argument; one that is not ours has no place here.
ComPtr<RecordBufferObject> BufferOf(IDispatch** array, const wchar_t* member) {
    auto buffer = RecordBufferObject::From(Require(array));
    if (!buffer) {
        throw Error(kTypeMismatch,
                    Text(L"kelos1::") + member,
                    L"The object is no record buffer of this back-end.");
    }
    return buffer;
}

Bstr ToBstr(text::TextView text) {
    return Bstr(Wide(text));
}

}  // namespace

STDMETHODIMP Host::CreateDynamicArray(BSTR data, IDispatch** result) noexcept {
    return HostMember(L"CreateDynamicArray", [&] {
        Out out{result};
        out = Make<RecordBufferObject>(text::DynamicArray(Units(data)));
    });
}

STDMETHODIMP
Host::Extract(IDispatch** array, long amc, long vmc, long smc, BSTR* result) noexcept {
    return HostMember(L"Extract", [&] {
        Out out{result};
        const auto buffer = BufferOf(array, L"Extract");
        text::Text storage;
        out = ToBstr(buffer->content.array.View(At(amc, vmc, smc), storage));
    });
}

STDMETHODIMP
Host::Replace(IDispatch** array, BSTR value, long amc, long vmc, long smc) noexcept {
    return HostMember(L"Replace", [&] {
        BufferOf(array, L"Replace")->content.array.Replace(At(amc, vmc, smc), Units(value));
    });
}

STDMETHODIMP
Host::Insert(IDispatch** array, BSTR value, long amc, long vmc, long smc) noexcept {
    return HostMember(L"Insert", [&] {
        BufferOf(array, L"Insert")->content.array.Insert(At(amc, vmc, smc), Units(value));
    });
}

STDMETHODIMP Host::Delete(IDispatch** array, long amc, long vmc, long smc) noexcept {
    return HostMember(L"Delete",
                      [&] { BufferOf(array, L"Delete")->content.array.Delete(At(amc, vmc, smc)); });
}

STDMETHODIMP Host::Locate(IDispatch** array,
                          long* pos,
                          BSTR search,
                          long amc,
                          long vmc,
                          BSTR sortBy,
                          VARIANT_BOOL* result) noexcept {
    return HostMember(L"Locate", [&] {
        Out out{result};
        Require(pos);
        const auto buffer = BufferOf(array, L"Locate");
        const text::LocateResult located =
            buffer->content.array.Locate(Units(search),
                                         static_cast<std::int32_t>(amc),
                                         static_cast<std::int32_t>(vmc),
                                         text::SortOrder::Parse(Units(sortBy)));
        *pos = static_cast<long>(located.position);
        out = located.found;
    });
}

STDMETHODIMP Host::Dcount(
    BSTR delimit, IDispatch** array, long amc, long vmc, long smc, long* result) noexcept {
    return HostMember(L"Dcount", [&] {
        Out out{result};
        const auto buffer = BufferOf(array, L"Dcount");
        out = static_cast<long>(buffer->content.array.Dcount(Units(delimit), At(amc, vmc, smc)));
    });
}

}  // namespace kel::embedded
