// Dictionary items, conversions and lists of names.
#include <gtest/gtest.h>

#include "tests/registry/session.h"

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

TEST_F(Dictionary, FindsTheFileOfTheItemTheBufferOrTheKeyField) {
    struct Case {
        const wchar_t* own;
        const wchar_t* buffer;  // null: no record state
        const wchar_t* tied;
        const wchar_t* file;  // "": none
    };
    const Case cases[] = {
        {L"OWN", L"BUFFER", L"TIED", L"OWN"},
        {L"OWN", nullptr, L"TIED", L"OWN"},
        {L"", L"BUFFER", L"TIED", L"BUFFER"},
        {L"", L"", L"TIED", L"TIED"},
        {L"", nullptr, L"TIED", L"TIED"},
        {L"", L"", L"", L""},
        {L"", nullptr, L"", L""},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
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
    EXPECT_EQ(backend.takeCalls().back(), L"WriteDictItem(CUST,NEW,4,,Label,,,32767)");
    item->definition.length = 32768;  // more than the back-end can be told
    EXPECT_EQ(call(L"WriteDictItem", {item.get()}).error, ErrorFields{});
    EXPECT_EQ(call(L"WriteDictItem", {named(L"").get()}).error, ErrorFields{});
    EXPECT_EQ(call(L"WriteDictItem", {Nothing()}).error, ErrorFields{});
    EXPECT_EQ(backend.takeCalls(), Lines{});
    EXPECT_EQ(GetNumber<_kelDictItem>(*item, &_kelDictItem::get_DictRead), DictReadPending);
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

    backend.fail(Member::kReadNext, SampleFailure(), kOnce);
    EXPECT_EQ(call(L"GetFileNameList").error, SampleFailure());
    EXPECT_EQ(backend.takeCalls().back(), L"CloseSelect(list#3)") << "closed all the same";
    backend.fail(Member::kCloseSelect, SampleFailure(), kOnce);
    EXPECT_EQ(names(call(L"GetFileNameList")), (Lines{L"CUST", L"ITEM"}));
    EXPECT_EQ(backend.takeCalls(),
              (Lines{L"IsConnected",
                     L"SelectFileName",
                     L"ReadNext(list#4,)",
                     L"ReadNext(list#4,)",
                     L"ReadNext(list#4,)",
                     L"CloseSelect(list#4)"}));
    backend.createFile(L"NEW");
    call(L"Disconnect");
    backend.clearCalls();
    EXPECT_EQ(names(call(L"GetFileNameList")), (Lines{L"CUST", L"ITEM"})) << "as it was";
    EXPECT_EQ(backend.takeCalls(), Lines{});
    EXPECT_EQ(backend.live(), LiveObjects());
}

}  // namespace
}  // namespace kel::tests
