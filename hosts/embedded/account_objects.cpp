// Account, its files and Arguments over the session that called the program.
#include "hosts/embedded/account_objects.h"

#include <array>

#include "hosts/embedded/connection.h"
#include "hosts/embedded/edges.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/text/functions.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

using text::DynamicArray;
using text::Position;

// The way from the objects of an account to its connection, cut when that ends. A member holds
// what it gets for as long as it works.
struct Link {
    std::weak_ptr<Connection> connection;

    std::shared_ptr<Connection> require() const {
        auto open = connection.lock();
        if (open == nullptr) {
            throw Error(NotConnected, kHostSource, L"Not connected");
        }
        return open;
    }
};

// A member that works with the session: not begun once the time of the call is over, and not cut
// off by its end.
template <typename Body>
HRESULT AccountMember(const Link& link, const wchar_t* member, Body&& body) noexcept {
    return HostMember(member, [&] {
        const auto held = link.require();
        const CallLimit::Host host(held->limit());
        held->limit().check();
        body(*held);
    });
}

class File final : public Object<kelAccountFile, _kelAccountFile> {
public:
    File(std::shared_ptr<Link> link, store::NamedFile file)
        : link_(std::move(link)), file_(std::move(file)) {}

    STDMETHODIMP get_Name(BSTR* result) noexcept override {
        return HostMember(L"File.Name", [&] {
            Out out{result};
            out = Wide(file_.name);
        });
    }
    STDMETHODIMP Read(BSTR id, VARIANT* result) noexcept override {
        return AccountMember(
            *link_, L"File.Read", [&](Connection& held) { read(held, id, result); });
    }
    STDMETHODIMP ReadU(BSTR id, VARIANT* result) noexcept override {
        return AccountMember(*link_, L"File.ReadU", [&](Connection& held) {
            const auto holder = held.store().Lock(file_.number, Units(id), held.lockWaitMs());
            if (holder) {
                throw Error(mvItemLocked,
                            kHostSource,
                            Text(L"Record \"").append(View(id)) + L"\" of file " +
                                Text(Wide(file_.name)) + L" is locked by " +
                                Text(Wide(holder->user)) + L".");
            }
            read(held, id, result);
        });
    }
    STDMETHODIMP Write(BSTR id, BSTR record) noexcept override {
        return AccountMember(*link_, L"File.Write", [&](Connection& held) {
            held.store().Write(file_.number, Units(id), Units(record), store::AfterWrite::kRelease);
        });
    }
    STDMETHODIMP WriteU(BSTR id, BSTR record) noexcept override {
        return AccountMember(*link_, L"File.WriteU", [&](Connection& held) {
            held.store().Write(file_.number, Units(id), Units(record), store::AfterWrite::kKeep);
        });
    }
    STDMETHODIMP Delete(BSTR id, VARIANT_BOOL* result) noexcept override {
        return AccountMember(*link_, L"File.Delete", [&](Connection& held) {
            Out out{result};
            out = held.store().Delete(file_.number, Units(id));
        });
    }
    STDMETHODIMP Release(BSTR id) noexcept override {
        return AccountMember(*link_, L"File.Release", [&](Connection& held) {
            held.store().Unlock(file_.number, Units(id));
        });
    }
    STDMETHODIMP Exists(BSTR id, VARIANT_BOOL* result) noexcept override {
        return AccountMember(*link_, L"File.Exists", [&](Connection& held) {
            Out out{result};
            out = held.store().Exists(file_.number, Units(id));
        });
    }
    using Object::Release;

private:
    ~File() override = default;

    void read(Connection& held, BSTR id, VARIANT* result) const {
        Out out{result};
        text::Text record;
        if (held.store().Read(file_.number, Units(id), record)) {
            out = Variant(Wide(record));
        } else {
            V_VT(result) = VT_NULL;
        }
    }

    std::shared_ptr<Link> link_;
    store::NamedFile file_;
};

class Account final : public Object<kelAccount, _kelAccount> {
public:
    explicit Account(Connection& connection)
        : link_(std::make_shared<Link>(Link{connection.weak_from_this()})) {}

    void cut() { link_->connection.reset(); }

    STDMETHODIMP Open(BSTR fileName, _kelAccountFile** result) noexcept override {
        return AccountMember(*link_, L"Account.Open", [&](Connection& held) {
            Out out{result};
            out = Make<File>(link_, store::RequireFile(held.store(), Units(fileName)));
        });
    }
    STDMETHODIMP Execute(BSTR sentence, BSTR* result) noexcept override {
        return AccountMember(*link_, L"Account.Execute", [&](Connection& held) {
            Out out{result};
            out = Wide(held.session().Execute(text::Text(Units(sentence))).output);
        });
    }
    STDMETHODIMP Select(BSTR sentence, BSTR* result) noexcept override {
        return AccountMember(*link_, L"Account.Select", [&](Connection& held) {
            Out out{result};
            const auto list = held.session().Select(text::Text(Units(sentence)));
            text::Text ids;
            query::SelectedId one;
            while (list->Next(one)) {
                ids.append(ids.empty() ? 0 : 1, text::kAttributeMark).append(one.id);
            }
            out = Wide(ids);
        });
    }
    STDMETHODIMP Oconv(BSTR value, BSTR code, BSTR* result) noexcept override {
        return AccountMember(*link_, L"Account.Oconv", [&](Connection& held) {
            Out out{result};
            out = Wide(conversion::Oconv(Units(value), Units(code), held.environment()).value);
        });
    }
    STDMETHODIMP Iconv(BSTR value, BSTR code, BSTR* result) noexcept override {
        return AccountMember(*link_, L"Account.Iconv", [&](Connection& held) {
            Out out{result};
            out = Wide(Entered(Units(value), Units(code), held.environment()));
        });
    }
    STDMETHODIMP Extract(
        BSTR record, long attribute, long value, long subvalue, BSTR* result) noexcept override {
        return HostMember(L"Account.Extract", [&] {
            Out out{result};
            out = Wide(DynamicArray(Units(record)).Extract(At(attribute, value, subvalue)));
        });
    }
    STDMETHODIMP
    Replace(BSTR record,
            BSTR text,
            long attribute,
            long value,
            long subvalue,
            BSTR* result) noexcept override {
        return edited(record, result, [&](DynamicArray& array) {
            array.Replace(At(attribute, value, subvalue), Units(text));
        });
    }
    STDMETHODIMP
    Insert(BSTR record, BSTR text, long attribute, long value, long subvalue, BSTR* result) noexcept
        override {
        return edited(record, result, [&](DynamicArray& array) {
            array.Insert(At(attribute, value, subvalue), Units(text));
        });
    }
    STDMETHODIMP Delete(
        BSTR record, long attribute, long value, long subvalue, BSTR* result) noexcept override {
        return edited(record, result, [&](DynamicArray& array) {
            array.Delete(At(attribute, value, subvalue));
        });
    }
    STDMETHODIMP Dcount(BSTR text, BSTR delimiter, long* result) noexcept override {
        return HostMember(L"Account.Dcount", [&] {
            Out out{result};
            out = static_cast<long>(DynamicArray(Units(text)).Dcount(Units(delimiter), {}));
        });
    }
    STDMETHODIMP get_AM(BSTR* result) noexcept override {
        return mark(text::kAttributeMark, result);
    }
    STDMETHODIMP get_VM(BSTR* result) noexcept override { return mark(text::kValueMark, result); }
    STDMETHODIMP get_SM(BSTR* result) noexcept override {
        return mark(text::kSubvalueMark, result);
    }
    STDMETHODIMP get_User(BSTR* result) noexcept override {
        return AccountMember(*link_, L"Account.User", [&](Connection& held) {
            Out out{result};
            out = Wide(held.session().User());
        });
    }
    STDMETHODIMP Call(BSTR progName,
                      VARIANT* arg1,
                      VARIANT* arg2,
                      VARIANT* arg3,
                      VARIANT* arg4,
                      VARIANT* arg5,
                      VARIANT* arg6,
                      VARIANT* arg7,
                      VARIANT* arg8,
                      VARIANT* arg9,
                      VARIANT* arg10,
                      VARIANT* arg11,
                      VARIANT* arg12) noexcept override {
        return AccountMember(*link_, L"Account.Call", [&](Connection& held) {
            const std::array all{
                arg1, arg2, arg3, arg4, arg5, arg6, arg7, arg8, arg9, arg10, arg11, arg12};
            held.programs().run(Units(progName), Given(all));
        });
    }

    STDMETHODIMP Quote(BSTR text, BSTR* result) noexcept override {
        return HostMember(L"Account.Quote", [&] {
            Out out{result};
            out = Wide(text::Quoted(Units(text)));
        });
    }

private:
    ~Account() override = default;

    template <typename Edit>
    static HRESULT edited(BSTR record, BSTR* result, Edit&& edit) noexcept {
        return HostMember(L"Account", [&] {
            Out out{result};
            DynamicArray array(Units(record));
            edit(array);
            out = Wide(array.ToText());
        });
    }
    static HRESULT mark(char16_t unit, BSTR* result) noexcept {
        return ComMethod([&] {
            Out out{result};
            out = Wide(text::TextView(&unit, 1));
        });
    }

    std::shared_ptr<Link> link_;
};

}  // namespace

ComPtr<IDispatch> MakeAccount(Connection& connection) {
    return Make<Account>(connection);
}

void EndAccount(IDispatch& account) noexcept {
    static_cast<Account&>(static_cast<_kelAccount&>(account)).cut();
}

STDMETHODIMP ProgramArguments::get_Count(long* result) noexcept {
    return HostMember(L"Arguments.Count", [&] {
        Out out{result};
        out = static_cast<long>(current.size());
    });
}

STDMETHODIMP ProgramArguments::get_Item(long index, VARIANT* result) noexcept {
    return HostMember(L"Arguments.Item", [&] {
        Out out{result};
        out = Variant::Through(at(index));
    });
}

STDMETHODIMP ProgramArguments::put_Item(long index, VARIANT value) noexcept {
    return HostMember(L"Arguments.Item", [&] {
        Variant copy = Variant::Through(value);
        std::swap(at(index), *copy.inOut());
    });
}

VARIANT& ProgramArguments::at(long index) const {
    if (index < 1 || static_cast<std::size_t>(index) > current.size()) {
        throw Error(kSubscriptOutOfRange,
                    kHostSource,
                    L"The program was called with " +
                        DecimalText(static_cast<long>(current.size())) +
                        L" arguments; there is no number " + DecimalText(index) + L".");
    }
    return *current[static_cast<std::size_t>(index - 1)];
}

}  // namespace kel::embedded
