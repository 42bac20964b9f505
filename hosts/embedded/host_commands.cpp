// The command level of the embedded back-end: sentences that make and remove files. Selections,
// conversions, dictionaries and stored programs raise "not implemented" until they are there.
#include <array>
#include <vector>

#include "hosts/embedded/edges.h"
#include "hosts/embedded/host.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

// The results are emptied, as by any member that fails.
template <typename... Results>
HRESULT NotImplemented(const wchar_t* member, Results*... results) noexcept {
    return HostMember(member, [&] {
        (static_cast<void>(Out<Results>(results)), ...);
        throw Error(E_NOTIMPL,
                    Text(L"kelos1::") + member,
                    Text(member) + L" is not implemented by the embedded back-end.");
    });
}

// What a sentence answers: its output, and its message numbers.
struct Answer {
    multivalue::Text output;
    multivalue::Text codes;
};

Answer CreateFile(multivalue::Store& store, multivalue::TextView name) {
    store.CreateFile(name);
    return {u"File \"" + multivalue::Text(name) + u"\" created.", u"417"};
}

Answer DeleteFile(multivalue::Store& store, multivalue::TextView name) {
    const auto file = store.FindFile(name);
    if (!file) {
        throw multivalue::Error(multivalue::ErrorKind::kNoSuchFile,
                                u"There is no file \"" + multivalue::Text(name) + u"\".");
    }
    store.DeleteFile(*file);
    return {u"File \"" + multivalue::Text(name) + u"\" deleted.", u"418"};
}

struct Verb {
    const wchar_t* name;
    Answer (*run)(multivalue::Store& store, multivalue::TextView fileName);
};

constexpr std::array kVerbs{Verb{L"create-file", CreateFile}, Verb{L"delete-file", DeleteFile}};

std::vector<TextView> Words(TextView sentence) {
    std::vector<TextView> words;
    for (std::size_t at = 0; (at = sentence.find_first_not_of(L' ', at)) != TextView::npos;) {
        const std::size_t end = std::min(sentence.find(L' ', at), sentence.size());
        words.push_back(sentence.substr(at, end - at));
        at = end;
    }
    return words;
}

// Runs a sentence. Its mistakes are part of its output, as on a terminal.
Answer Run(multivalue::Store& store, TextView sentence) {
    const std::vector<TextView> words = Words(sentence);
    const Text verbName = words.empty() ? Text() : Lower(words.front());
    for (const Verb& verb : kVerbs) {
        if (verbName != verb.name) {
            continue;
        }
        if (words.size() != 2) {
            return {u"The verb takes the name of one file.", u"10"};
        }
        try {
            return verb.run(store, Units(words[1]));
        } catch (const multivalue::Error& error) {
            return {error.text(),
                    multivalue::Text(Units(TextView(DecimalText(NumberOf(error.kind())))))};
        }
    }
    throw Error(E_NOTIMPL,
                L"kelos1::Execute",
                Text(L"The verb \"") + (words.empty() ? Text() : Text(words.front())) +
                    L"\" is not implemented by the embedded back-end.");
}

}  // namespace

STDMETHODIMP Host::Execute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept {
    return HostMember(L"Execute", [&] {
        Require(capture);
        Require(returning);
        const Answer answer = Run(store(), View(sentence));
        Bstr output(Wide(answer.output));
        Bstr codes(Wide(answer.codes));
        std::swap(*capture, *output.inOut());
        std::swap(*returning, *codes.inOut());
    });
}

STDMETHODIMP Host::Oconv(BSTR, BSTR, VARIANT* result) noexcept {
    return NotImplemented(L"Oconv", result);
}
STDMETHODIMP Host::Iconv(BSTR, BSTR, VARIANT* result) noexcept {
    return NotImplemented(L"Iconv", result);
}
STDMETHODIMP Host::CallHost(BSTR,
                            VARIANT*,
                            VARIANT*,
                            VARIANT*,
                            VARIANT*,
                            VARIANT*,
                            VARIANT*,
                            VARIANT*,
                            VARIANT*,
                            VARIANT*,
                            VARIANT*,
                            VARIANT*,
                            VARIANT*) noexcept {
    return NotImplemented(L"CallHost");
}
STDMETHODIMP Host::ProcessSelect(BSTR, IDispatch** result) noexcept {
    return NotImplemented(L"ProcessSelect", result);
}
// There is no list to close: the engine closes "no list" of every key field when it disconnects.
STDMETHODIMP Host::CloseSelect(IDispatch* selectList, VARIANT* result) noexcept {
    if (selectList != nullptr) {
        return NotImplemented(L"CloseSelect", result);
    }
    return HostMember(L"CloseSelect", [&] { const Out out{result}; });
}
STDMETHODIMP Host::ReadNext(IDispatch**, BSTR*, VARIANT_BOOL* result) noexcept {
    return NotImplemented(L"ReadNext", result);
}
STDMETHODIMP
Host::ReadDictItem(BSTR, BSTR, long*, BSTR*, BSTR*, BSTR*, BSTR*, short*) noexcept {
    return NotImplemented(L"ReadDictItem");
}
STDMETHODIMP Host::WriteDictItem(BSTR, BSTR, long, BSTR, BSTR, BSTR, BSTR, short) noexcept {
    return NotImplemented(L"WriteDictItem");
}
STDMETHODIMP
Host::ProcessCorrelative(IDispatch**, BSTR, BSTR, BSTR, short, BSTR, BSTR*, BSTR* result) noexcept {
    return NotImplemented(L"ProcessCorrelative", result);
}
STDMETHODIMP Host::ValidCorrelative(BSTR, VARIANT_BOOL* result) noexcept {
    return NotImplemented(L"ValidCorrelative", result);
}
STDMETHODIMP Host::SelectDictName(BSTR, VARIANT_BOOL, IDispatch** result) noexcept {
    return NotImplemented(L"SelectDictName", result);
}
STDMETHODIMP Host::SelectFileName(IDispatch** result) noexcept {
    return NotImplemented(L"SelectFileName", result);
}

}  // namespace kel::embedded
