// Evaluating an item's correlative: by the back-end, in its internal form, or by a stored program.
#include <gtest/gtest.h>

#include "tests/engine/message_box.h"
#include "tests/registry/session.h"

namespace kel::tests {
namespace {

class Correlative : public SessionTest {
protected:
    Outcome process(client::DictItem& item,
                    const wchar_t* value = L"v",
                    const wchar_t* key = L"") const {
        return call(L"ProcessCorrelative", {value, key, short{7}, &item});
    }
};

TEST_F(Correlative, IsHandedToTheBackendWithTheRecord) {
    struct Case {
        const wchar_t* correlative;
        const wchar_t* internal;
        const wchar_t* key;
        const wchar_t* itemFile;
        const wchar_t* bufferFile;
        const wchar_t* passed;  // id, file, number, correlative
    };
    const Case cases[] = {
        {L"A;1", L"", L"", L"", L"CUST", L"17,CUST,7,A;1"},
        {L"A;1", L"", L"4", L"", L"CUST", L"4,CUST,7,A;1"},
        {L"A;1", L"", L"", L"ITEM", L"CUST", L"17,ITEM,7,A;1"},
        {L"A;1", L"", L"", L"", L"", L"17,TIED,7,A;1"},
        {L"A;1", L"#1", L"", L"", L"CUST", L"17,CUST,7,#1"},
        {L"", L"#1", L"", L"", L"CUST", L"17,CUST,7,#1"},
        {L"CAL P", L"", L"", L"", L"CUST", L"17,CUST,7,CAL P"},
    };
    connectAndRead();
    base->SetKeyFieldFileName(Str(L"Cust"), Str(L"TIED"));
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        info()->put_FileName(Str(one.bufferFile));
        const auto item = Item(L"Cust", 1);
        item->definition.correlative = one.correlative;
        item->definition.internalCorrelative = one.internal;
        item->definition.fileName = one.itemFile;
        const Text written = *one.internal != 0 ? one.internal : one.correlative;
        EXPECT_EQ(process(*item, L"v", one.key).text(), written + L"(v)");
        EXPECT_EQ(backend.takeCalls().back(),
                  L"ProcessCorrelative(array#2,v," + Text(one.passed) + L",)");
        EXPECT_EQ(item->definition.internalCorrelative, one.internal);
    }
    EXPECT_EQ(record(), L"Smith|17|CUST|R--|0") << "not changed";
    // The back-end's own form of it is kept.
    const auto item = Item(L"Cust", 1);
    item->definition.correlative = L"A;1";
    backend.answer(Member::kProcessCorrelative, Value(L"one"), {{6, Value(L"#1")}});
    EXPECT_EQ(process(*item).text(), L"one");
    EXPECT_EQ(item->definition.internalCorrelative, L"#1");
    EXPECT_EQ(process(*item).text(), L"#1(v)");
    EXPECT_EQ(takeEvents(), Lines{});
}

TEST_F(Correlative, MayCallAStoredProgram) {
    const MessageBoxRecorder boxes;
    struct Case {
        const wchar_t* correlative;
        Program program;
        const wchar_t* result;
    };
    const Program doubles = [](VARIANT* const* arguments) {
        const Text value = Shown(*arguments[2]);
        Leave(arguments[2], value + value);
    };
    const Program complains = [](VARIANT* const* arguments) { Leave(arguments[4], L"wrong"); };
    const Program codeTwo = [](VARIANT* const* arguments) {
        Leave(arguments[3], L"2");
        Leave(arguments[4], L"emptied by the code");
    };
    const Case cases[] = {
        {L"CALL DOUBLE", doubles, L"vv"},
        {L"call DOUBLE", doubles, L"vv"},
        {L"Call DOUBLE and more", doubles, L"vv"},
        {L"CALLING DOUBLE", doubles, L"vv"},
        {L"CALL DOUBLE", complains, L""},
        {L"CALL DOUBLE", codeTwo, L"v"},
        {L"CALL", doubles, L"v"},
        {L"", doubles, L"v"},
    };
    connectAndRead();
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        backend.putProgram(L"DOUBLE", one.program);
        const auto item = Item(L"Cust", 1);
        item->definition.correlative = one.correlative;
        EXPECT_EQ(process(*item).text(), one.result);
        EXPECT_EQ(backend.count(Member::kProcessCorrelative), 0);
    }
    EXPECT_EQ(boxes.take(), Lines{});
    const auto item = Item(L"Cust", 1);
    item->definition.correlative = L"CALL MISSING";
    EXPECT_EQ(process(*item).text(), L"v") << "shown to the user; the value stays";
    EXPECT_EQ(boxes.take().size(), 1U);
}

}  // namespace
}  // namespace kel::tests
