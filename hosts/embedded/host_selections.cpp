// Select lists of the embedded back-end. Records are read as ids are asked for; a list is closed by
// its client or ends with the connection.
#include "hosts/embedded/edges.h"
#include "hosts/embedded/host.h"
#include "hosts/multivalue/store/files.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

std::shared_ptr<OpenList> ListOf(IDispatch* selectList) {
    const auto object = SelectListObject::From(selectList);
    if (!object || object->content.open == nullptr || object->content.open->list == nullptr) {
        throw Error(mvSelectError, kHostSource, L"The select list is not open in this connection.");
    }
    return object->content.open;
}

bool TakeNext(OpenList& open, query::SelectedId& next) {
    if (open.isBusy) {
        throw Error(mvSelectError,
                    kHostSource,
                    L"The select list is working out its next id for another call.");
    }
    const auto connection = open.connection.lock();
    const auto list = open.list;
    struct Busy {
        bool& flag;
        explicit Busy(bool& which) : flag(which) { flag = true; }
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;
        ~Busy() { flag = false; }
    } const busy(open.isBusy);
    bool more = false;
    connection->run([&] { more = list->Next(next); });
    return more;
}

ComPtr<IDispatch> HandOut(Connection& connection, std::unique_ptr<query::SelectList> list) {
    return Make<SelectListObject>(connection.handOut(std::move(list)));
}

}  // namespace

STDMETHODIMP Host::ProcessSelect(BSTR sentence, IDispatch** result) noexcept {
    return HostMember(L"ProcessSelect", [&] {
        Out out{result};
        try {
            const auto held = connection();
            std::unique_ptr<query::SelectList> list;
            held->run([&] { list = held->session().Select(text::Text(Units(sentence))); });
            out = HandOut(*held, std::move(list));
        } catch (const text::Error& error) {
            if (error.kind() != text::ErrorKind::kBadArgument) {
                throw;
            }
            throw Error(mvSelectError, kHostSource, Wide(error.text()));
        }
    });
}

STDMETHODIMP Host::CloseSelect(IDispatch* selectList, VARIANT* result) noexcept {
    return HostMember(L"CloseSelect", [&] {
        const Out out{result};
        // The engine closes "no list" of every key field when it disconnects; and closing what the
        // end of the connection closed already is no mistake.
        const auto object = SelectListObject::From(selectList);
        if (object && object->content.open != nullptr) {
            object->content.open->list.reset();
        } else if (selectList != nullptr) {
            throw Error(
                kTypeMismatch, kHostSource, L"The object is no select list of this back-end.");
        }
    });
}

STDMETHODIMP
Host::ReadNext(IDispatch** selectList, BSTR* id, VARIANT_BOOL* result) noexcept {
    return HostMember(L"ReadNext", [&] {
        Out out{result};
        Require(id);
        query::SelectedId next;
        const auto open = ListOf(Require(selectList));
        const bool more = TakeNext(*open, next);
        Assign(id, Wide(next.id));
        out = more;
    });
}

STDMETHODIMP Host::SelectDictName(BSTR fileName,
                                  VARIANT_BOOL withCorrelatives,
                                  IDispatch** result) noexcept {
    return HostMember(L"SelectDictName", [&] {
        Out out{result};
        const auto held = connection();
        store::Store& store = held->store();
        const auto file = store::RequireFile(store, Units(fileName));
        std::vector<text::Text> names;
        const auto dictionary = store.FindFile(store::DictionaryFileName(file.name));
        if (dictionary) {
            const auto scan = store.OpenScan(*dictionary, {});
            std::vector<store::ScanEntry> entries;
            constexpr std::size_t kChunk = 200;
            while (scan->Next(entries, kChunk)) {
                for (const store::ScanEntry& entry : entries) {
                    const auto item = expression::ReadDictionaryItem(entry.record);
                    if (item.kind == expression::DictionaryItem::Kind::kField &&
                        (withCorrelatives != VARIANT_FALSE || item.correlative.empty())) {
                        names.push_back(entry.id);
                    }
                }
            }
        }
        out = HandOut(*held, query::ListOfIds(std::move(names)));
    });
}

STDMETHODIMP Host::SelectFileName(IDispatch** result) noexcept {
    return HostMember(L"SelectFileName", [&] {
        Out out{result};
        const auto held = connection();
        std::vector<text::Text> names = held->store().FileNames();
        // Dictionaries come with their files; names in & are the system's own.
        const text::Text prefix = store::DictionaryFileName({});
        std::erase_if(names, [&](const text::Text& name) {
            return name.starts_with(prefix) || name.starts_with(u'&');
        });
        out = HandOut(*held, query::ListOfIds(std::move(names)));
    });
}

}  // namespace kel::embedded
