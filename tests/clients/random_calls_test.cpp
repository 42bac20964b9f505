// Calls by name drawn at random, of every member of every class.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <random>

#include "automation/dispatch_table.h"
#include "tests/clients/foreign.h"
#include "tests/clients/late_session.h"

namespace kel::tests {
namespace {

using automation::DispatchMember;
using automation::DispatchTable;

// Tens of thousands of calls, well-formed and not, of every member of every class. What must hold:
// no crash, nothing leaked (the suite counts), and an answer of the right kind.
TEST(RandomCalls, EndInAResultOrAnErrorOfTheRightKind) {
    const char* const given = std::getenv("KEL_SEED");  // to do a failed run again
    const auto seed = static_cast<unsigned>(given != nullptr ? std::strtoul(given, nullptr, 10)
                                                             : std::random_device()());
    std::mt19937 random(seed);
    const auto draw = [&](std::size_t below) {
        return std::uniform_int_distribution<std::size_t>(0, below - 1)(random);
    };
    const auto keepsObjects = [](const DispatchMember& member) {
        constexpr WORD kReads = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
        return (member.kind & kReads) == 0 || TextView(member.name) == L"Add";
    };
    constexpr int kCalls = 30000;
    int made = 0;
    std::map<HRESULT, int> codes;
    while (made < kCalls) {
        LateSession late;
        const auto foreign = Foreign::Make(S_OK, Value(L"1"));
        Bstr text(L"1");
        long number = 1;
        short narrow = 1;
        Variant variable = Value(1);
        ComPtr<IDispatch> object(foreign);
        const std::vector<std::pair<const DispatchTable*, IDispatch*>> objects = late.objects();
        using Maker = std::function<Variant(const DispatchMember&)>;
        const std::vector<Maker> makers = {
            [](auto&) { return Value(L"1"); },
            [&](auto&) { return Value(static_cast<int>(draw(5))); },
            [&](auto&) { return Value(LateSession::kKey); },
            [&](auto&) { return Value(L"CUST"); },
            [&](auto&) { return ByRef(text); },
            [&](auto&) { return ByRef(&number); },
            [&](auto&) { return ByRef(&narrow); },
            [&](auto&) { return ByRef(variable); },
            [&](auto&) { return ByRef(object.inOut()); },
            [&](auto&) { return Value(static_cast<IDispatch*>(foreign.get())); },
            [&](auto&) { return Variant::Missing(); },
            [&](auto&) { return Variant(); },
            [&](auto&) { return Value(Text(draw(4000), L'\xFD')); },
            [&](auto&) { return Value(1e9 * static_cast<double>(draw(9))); },
            // Not where objects are kept: one that holds itself never ends.
            [&](const DispatchMember& member) {
                return Value(keepsObjects(member) ? static_cast<IDispatch*>(foreign.get())
                                                  : objects[draw(objects.size())].second);
            },
            [&](auto&) { return ByRef(static_cast<VARTYPE>(draw(40)), nullptr); },
        };
        for (int i = 0; i < 500; ++i, ++made) {
            const auto& [table, target] = objects[draw(objects.size())];
            const DispatchMember& member = table->members()[draw(table->members().size())];
            if (LateSession::isSlow(member)) {
                continue;
            }
            std::vector<Variant> arguments;
            std::size_t count = member.parameters.size();
            if (draw(10) == 0) {
                count = draw(20);
            }
            for (std::size_t k = 0; k < count; ++k) {
                arguments.push_back(makers[draw(makers.size())](member));
            }
            std::vector<VARIANT> raw;
            for (const Variant& one : arguments) {
                raw.push_back(one.get());
            }
            std::vector<DISPID> named(draw(8) == 0 ? draw(raw.size() + 1) : 0);
            for (DISPID& id : named) {
                id = static_cast<DISPID>(draw(16)) - 4;
            }
            if (named.empty() && (member.kind & ~(DISPATCH_METHOD | DISPATCH_PROPERTYGET)) != 0 &&
                !raw.empty()) {
                named = {DISPID_PROPERTYPUT};
            }
            DISPPARAMS params{raw.data(),
                              named.data(),
                              static_cast<UINT>(raw.size()),
                              static_cast<UINT>(named.size())};
            const WORD flags = draw(10) == 0 ? static_cast<WORD>(draw(16)) : member.kind;
            Variant result;
            EXCEPINFO exception{};
            UINT wrong = 0;
            const HRESULT code = target->Invoke(
                member.id, IID_NULL, 0, flags, &params, result.inOut(), &exception, &wrong);
            ++codes[code];
            if (code == DISP_E_EXCEPTION) {
                const ErrorFields error = ErrorOf(exception);
                ASSERT_NE(error.number, 0) << "seed " << seed;
                ASSERT_NE(error.number, E_UNEXPECTED) << Narrow(member.name) << ", seed " << seed;
            } else if (FAILED(code)) {
                ASSERT_EQ(HRESULT_FACILITY(code), FACILITY_DISPATCH)
                    << Narrow(member.name) << ", seed " << seed;
                ASSERT_EQ(V_VT(&result.get()), VT_EMPTY);
            }
        }
    }
    LoadTestBackend().reset();  // of what the calls wrote
    for (const HRESULT code : {S_OK,
                               DISP_E_EXCEPTION,
                               DISP_E_TYPEMISMATCH,
                               DISP_E_BADPARAMCOUNT,
                               DISP_E_BADVARTYPE,
                               DISP_E_PARAMNOTFOUND,
                               DISP_E_MEMBERNOTFOUND}) {
        EXPECT_GT(codes[code], kCalls / 1000) << std::hex << code << ", seed " << seed;
    }
}

}  // namespace
}  // namespace kel::tests
