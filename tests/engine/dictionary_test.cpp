// Dictionary items, conversions and lists of names.
#include <gtest/gtest.h>

#include "tests/engine/session.h"

namespace kel::tests {
namespace {

using automation::GetNumber;

class Dictionary : public SessionTest {
protected:
    ComPtr<client::DictItem> named(TextView dictName, TextView keyField = L"Cust") const {
        auto item = Item(keyField);
        item->definition.dictName = dictName;
        return item;
    }
    // What reading leaves in the item: state and message.
    Text read(client::DictItem& item) const {
        EXPECT_EQ(call(L"ReadDictItem", {&item}).error, ErrorFields{});
        _kelDictItem& read = item;
        return std::to_wstring(GetNumber(read, &_kelDictItem::get_DictRead)) + L" " +
               automation::GetText(read, &_kelDictItem::get_DictErrMsg);
    }
    Lines names(const Outcome& outcome) const {
        EXPECT_EQ(outcome.error, ErrorFields{});
        return ItemsOf(outcome.value.object<_Collection>().get());
    }
};

const DictItem kName = {3, L"MD2", L"Name", L"L", L"", 20};

TEST_F(Dictionary, FillsAnItemFromItsDefinition) {
    backend.putDictItem(L"CUST", L"NAME", kName);
    connectAndRead();
    const auto item = named(L"NAME");
    item->definition.correlative = L"before";
    item->definition.internalCorrelative = L"#";
    EXPECT_EQ(read(*item), L"1 ");
    EXPECT_EQ(backend.takeCalls(), Lines{L"ReadDictItem(CUST,NAME,0,,,,,0)"});
    const auto& read = item->definition;
    EXPECT_EQ(
        (DictItem{read.amc, read.conversion, read.label, read.justification, read.correlative, 20}),
        kName);
    EXPECT_EQ(read.length, 20);
    EXPECT_EQ(read.internalCorrelative, L"") << "the correlative is another one now";
}

TEST_F(Dictionary, FindsTheFileOfTheItemTheBufferOrTheKeyField) {
    struct Case {
        const char* name;
        const wchar_t* own;
        const wchar_t* buffer;  // null: no record state
        const wchar_t* tied;
        const wchar_t* file;  // "": none
    };
    const Case cases[] = {
        {"own", L"OWN", L"BUFFER", L"TIED", L"OWN"},
        {"own, without a state", L"OWN", nullptr, L"TIED", L"OWN"},
        {"buffer", L"", L"BUFFER", L"TIED", L"BUFFER"},
        {"key field", L"", L"", L"TIED", L"TIED"},
        {"key field, without a state", L"", nullptr, L"TIED", L"TIED"},
        {"none", L"", L"", L"", L""},
        {"none, without a state", L"", nullptr, L"", L""},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        for (const wchar_t* file : {L"OWN", L"BUFFER", L"TIED"}) {
            backend.putDictItem(file, L"NAME", kName);
        }
        ASSERT_TRUE(connect());
        addField(L"Cust", one.tied);
        if (one.buffer != nullptr) {
            info()->put_FileName(Str(one.buffer));
        }
        backend.clearCalls();
        const auto item = named(L"NAME", L"CUST");
        item->definition.fileName = one.own;
        const bool isFound = *one.file != 0;
        EXPECT_EQ(read(*item),
                  isFound ? L"1 " : L"2 Unable to find a filename associated with CUST");
        EXPECT_TRUE(call(L"WriteDictItem", {item.get()}).ok());
        const Text file = one.file;
        EXPECT_EQ(backend.takeCalls(),
                  isFound ? (Lines{L"ReadDictItem(" + file + L",NAME,0,,,,,0)",
                                   L"WriteDictItem(" + file + L",NAME,3,MD2,Name,L,,20)"})
                          : Lines{});
        reopen();
    }
}

TEST_F(Dictionary, TellsTheItemWhyItCouldNotBeRead) {
    const auto item = named(L"");
    EXPECT_EQ(read(*item), L"1 ") << "nothing to read, nothing to fail";
    item->SetDictErrMsg(Str(L"left over"));
    EXPECT_EQ(read(*item), L"1 ");
    addField(L"Cust");
    item->definition.dictName = L"NAME";
    EXPECT_EQ(read(*item), L"2 91 (kelSDK) Object variable or With block variable not set");
    connectAndRead();
    EXPECT_EQ(read(*item), L"2 10201 (kelos99) No dictionary item NAME in file CUST");
    backend.fail(Member::kReadDictItem, SampleFailure(-2147220991), kOnce);
    EXPECT_EQ(read(*item), L"2 -2147220991 (kelos99.Sample) A sample failure");
    backend.putDictItem(L"CUST", L"NAME", kName);
    EXPECT_EQ(read(*item), L"1 ");
    // What is no item cannot be told.
    EXPECT_NE(call(L"ReadDictItem", {Nothing()}).error, ErrorFields{});
}

TEST_F(Dictionary, WritesAnItemQuietly) {
    connectAndRead();
    const auto item = named(L"NEW");
    item->definition.amc = 4;
    item->definition.label = L"Label";
    item->definition.length = 32767;
    EXPECT_EQ(call(L"WriteDictItem", {item.get()}).error, ErrorFields{});
    EXPECT_EQ(backend.dictItem(L"CUST", L"NEW"), (DictItem{4, L"", L"Label", L"", L"", 32767}));
    backend.clearCalls();
    item->definition.length = 32768;  // more than the back-end can be told
    EXPECT_EQ(call(L"WriteDictItem", {item.get()}).error, ErrorFields{});
    EXPECT_EQ(call(L"WriteDictItem", {named(L"").get()}).error, ErrorFields{});
    EXPECT_EQ(call(L"WriteDictItem", {Nothing()}).error, ErrorFields{});
    EXPECT_EQ(backend.takeCalls(), Lines{});
    backend.fail(Member::kWriteDictItem, SampleFailure());
    item->definition.length = 1;
    EXPECT_EQ(call(L"WriteDictItem", {item.get()}).error, ErrorFields{});
    EXPECT_EQ(GetNumber<_kelDictItem>(*item, &_kelDictItem::get_DictRead), DictReadPending);
}

TEST_F(Dictionary, ConvertsForDisplayWithoutFailing) {
    EXPECT_EQ(call(L"Oconv", {L"1234", L"MD2"}).text(), L"Empty") << "no back-end";
    EXPECT_EQ(call(L"Iconv", {L"12.34", L"MD2"}).error, kNoBackend);
    ASSERT_TRUE(connect());
    EXPECT_EQ(call(L"Oconv", {L"1234", L"MD2"}).text(), L"12.34");
    EXPECT_EQ(call(L"Iconv", {L"12.34", L"MD2"}).text(), L"1234");
    EXPECT_EQ(call(L"Iconv", {L"x", L"MD2"}).error,
              (ErrorFields{13, L"kelos99", L"Type mismatch"}));
    backend.fail(Member::kOconv, SampleFailure());
    const Outcome outcome = call(L"Oconv", {L"1234", L"MD2"});
    EXPECT_EQ(outcome.error, ErrorFields{});
    EXPECT_EQ(outcome.text(), L"Empty");
}

TEST_F(Dictionary, ListsNamesOnce) {
    backend.putDictItem(L"CUST", L"NAME", kName);
    backend.putDictItem(L"CUST", L"AGE", kName);
    backend.putDictItem(L"CUST", L"DERIVED", {0, {}, {}, {}, L"A;1"});
    backend.putDictItem(L"ITEM", L"PRICE", kName);
    EXPECT_EQ(names(call(L"GetDictNameList", {L"CUST"})), (Lines{L"AGE", L"NAME"}));
    EXPECT_EQ(get(L"IsConnected").text(), L"True") << "connected for it";
    EXPECT_EQ(names(call(L"GetDictNameList", {L"ITEM"})), Lines{L"PRICE"});
    backend.clearCalls();
    const auto again = call(L"GetDictNameList", {L"cust"}).value.object<_Collection>();
    EXPECT_EQ(again.get(), call(L"GetDictNameList", {L"CUST"}).value.object<_Collection>().get());
    EXPECT_EQ(call(L"GetDictNameList", {L""}).text(), L"Nothing");
    EXPECT_EQ(backend.takeCalls(), Lines{});

    EXPECT_EQ(names(call(L"GetFileNameList")), (Lines{L"CUST", L"ITEM"}));
    EXPECT_EQ(backend.takeCalls(),
              (Lines{L"IsConnected",
                     L"SelectFileName",
                     L"ReadNext(list#3,)",
                     L"ReadNext(list#3,)",
                     L"ReadNext(list#3,)",
                     L"CloseSelect(list#3)"}));
    backend.createFile(L"NEW");
    call(L"Disconnect");
    backend.clearCalls();
    EXPECT_EQ(names(call(L"GetFileNameList")), (Lines{L"CUST", L"ITEM"})) << "as it was";
    EXPECT_EQ(backend.takeCalls(), Lines{});
    EXPECT_EQ(backend.live(), LiveObjects());
}

TEST_F(Dictionary, RaisesWhatKeepsItFromListingAndKeepsNoPart) {
    backend.createFile(L"CUST");
    session.sink->answerProperty(L"OsType", L"");
    EXPECT_EQ(call(L"GetFileNameList").error, kNoBackend) << "connecting failed";
    session.sink->answerProperty(L"OsType", L"99");
    EXPECT_EQ(call(L"GetDictNameList", {L"NONE"}).error,
              (ErrorFields{10301, L"kelos99", L"No file NONE"}));
    for (const Member member : {Member::kReadNext, Member::kCloseSelect}) {
        backend.fail(member, SampleFailure(), kOnce);
        EXPECT_EQ(call(L"GetFileNameList").error, SampleFailure());
        backend.fail(member, SampleFailure(), kOnce);
        EXPECT_EQ(call(L"GetDictNameList", {L"CUST"}).error, SampleFailure());
    }
    EXPECT_EQ(backend.live().lists, 0);
    EXPECT_EQ(names(call(L"GetFileNameList")), Lines{L"CUST"});
    EXPECT_EQ(names(call(L"GetDictNameList", {L"CUST"})), Lines{});
}

}  // namespace
}  // namespace kel::tests
