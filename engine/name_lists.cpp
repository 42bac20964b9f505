// Reading lists of names from the back-end.
#include "engine/name_lists.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

void CloseNames(_mviHostDLL& reader, const ComPtr<IDispatch>& selectList) {
    Variant ignored;
    CallOut([&] { return reader.CloseSelect(selectList.get(), ignored.put()); });
}

// The ids of a select list of the back-end, in the order received. When reading fails the list is
// closed; otherwise that is left to the caller.
ComPtr<core::Collection> ReadNames(_mviHostDLL& reader, ComPtr<IDispatch>& selectList) {
    auto names = Make<core::Collection>();
    try {
        for (;;) {
            Bstr id;
            VARIANT_BOOL more = VARIANT_FALSE;
            CallOut([&] { return reader.ReadNext(selectList.inOut(), id.inOut(), &more); });
            if (more == VARIANT_FALSE) {
                return names;
            }
            names->add(Variant(std::move(id)));
        }
    } catch (...) {
        const Error error = CurrentError();
        Ignoring([&] { CloseNames(reader, selectList); });
        throw Error(error);
    }
}

}  // namespace

ComPtr<_Collection> NameLists::dictionaryNames(BSTR fileName) {
    const TextView name = View(fileName);
    if (name.empty()) {
        return nullptr;
    }
    if (!dictionaries_) {
        dictionaries_ = Make<core::Collection>();
    }
    if (const Variant* known = dictionaries_->find(name)) {
        return known->object<_Collection>();
    }
    requireConnection();
    ComPtr<IDispatch> selectList;
    const auto selector = host_.host();
    CallOut([&] { return selector->SelectDictName(fileName, VARIANT_FALSE, selectList.put()); });
    ComPtr<_Collection> names(ReadNames(*selector, selectList));
    CloseNames(*selector, selectList);
    Ignoring([&] { dictionaries_->add(Variant(names.get()), name); });
    return names;
}

ComPtr<_Collection> NameLists::fileNames() {
    if (!files_) {
        requireConnection();
        ComPtr<IDispatch> selectList;
        const auto selector = host_.host();
        CallOut([&] { return selector->SelectFileName(selectList.put()); });
        files_ = ReadNames(*selector, selectList);
        // The list of names is whole, whatever becomes of the back-end's.
        Ignoring([&] { CloseNames(*selector, selectList); });
    }
    return files_;
}

}  // namespace kel::engine
