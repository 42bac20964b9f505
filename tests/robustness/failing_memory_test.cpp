// Every allocation of a whole scenario failing, one by one: each member answers with error 7 or
// with what it documents for a failure, nothing is lost, and the same work succeeds afterwards.
#include <gtest/gtest.h>

#include "tests/registry/component.h"
#include "tests/robustness/failing_memory.h"

namespace kel::tests {
namespace {

class FailingMemory : public ComponentTest {
protected:
    static void SetUpTestSuite() { InstallFailingMemory(); }
    void SetUp() override { arrange(); }
    void TearDown() override {
        letGo();
        ComponentTest::TearDown();
    }

    void arrange() {
        backend.putRecord(L"CUST", L"17", L"Smith\xFELondon");
        backend.putDictItem(L"CUST", L"NAME", {1, L"", L"Name", L"L", L"", 20});
    }
    void letGo() {
        listening_.end();
        info_.reset();
        item_.reset();
        tools_.reset();
        list_.reset();
        session_.reset();
        base_.reset();
    }

    // The whole scenario, with the given allocation failing; stops behind the step in which that
    // happened. The number of steps done.
    std::size_t run(long failing) {
        using Step = std::function<HRESULT()>;
        const Step steps[] = {
            [&] { return made([&] { base_ = newBase(); }); },
            [&] { return base_->SetKeyFieldSession(key_, main_); },
            [&] { return base_->SetKeyFieldFileName(key_, file_); },
            [&] { return base_->GetSessionCallBack(main_, session_.put()); },
            [&] { return session_->Connect(&flag_); },
            [&] { return session_->get_Tools(tools_.put()); },
            [&] { return tools_->mvRead(key_, id_, file_); },
            [&] { return tools_->Extract(key_, 2, 0, 0, text_.put()); },
            [&] { return tools_->Replace(key_, value_, 2, 2, 0); },
            [&] { return tools_->Insert(key_, value_, 2, 1, 0); },
            [&] { return tools_->Delete(key_, 2, 1, 0); },
            [&] { return tools_->mvWrite(key_, id_, nullptr); },
            [&] { return tools_->ExecuteSelect(list1_, select_); },
            [&] { return tools_->ReadNext(list1_, next_.inOut(), &flag_); },
            [&] { return tools_->CloseSelect(list1_); },
            [&] { return tools_->mvField(value_, id_, 1, text_.put()); },
            [&] { return session_->put_CommonValue(key_, common_.get()); },
            [&] { return session_->get_CommonValue(key_, common_.put()); },
            [&] { return made([&] { item_ = automation::Make<client::DictItem>(); }); },
            [&] { return item_->put_KeyId(key_); },
            [&] { return item_->put_FileName(file_); },
            [&] { return item_->put_DictName(name_); },
            [&] { return item_->InitalizeDictItem(); },
            [&] { return item_->mvInfo(info_.put()); },
            [&] { return item_->ReadRecord(&code_); },
            [&] { return item_->put_ExternalValue(0, value_); },
            [&] { return item_->get_ExternalValue(0, text_.put()); },
            [&] { return item_->InsertRow(value_, 1); },
            [&] { return base_->GetKeyFieldList(list_.put()); },
            [&] { return late(); },
            [&] { return base_->RenameFieldCallback(key_, other_); },
            [&] { return session_->Disconnect(); },
            [&] { return base_->RemoveSessionCallback(main_); },
            [&] { return base_->RemoveFieldCallBack(other_); },
        };
        Armed memory(failing);
        std::size_t done = 0;
        for (const Step& step : steps) {
            const HRESULT code = step();
            const Disarmed resting;
            const long number = automation::NumberOfCode(code);
            if (AllocationFailed()) {
                EXPECT_TRUE(SUCCEEDED(code) || number == 7 || number == E_OUTOFMEMORY ||
                            number == 91)
                    << "allocation " << failing << ", step " << done << ": " << number;
                return done;
            }
            EXPECT_EQ(code, S_OK) << "step " << done;
            if (session_ && !listening_.sink) {
                listening_ = ListenTo(*session_);
                listening_.sink->answerProperty(L"OsType", L"99");
            }
            ++done;
        }
        return done;
    }

    template <typename Making>
    static HRESULT made(Making&& make) {
        try {
            make();
            return S_OK;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        } catch (const automation::Error& error) {
            return automation::CodeOfNumber(error.number());
        }
    }
    // A call by name with everything that costs memory: conversions and a result.
    HRESULT late() {
        VARIANT given[3]{};
        V_VT(&given[2]) = VT_BSTR;
        V_BSTR(&given[2]) = key_;
        V_VT(&given[1]) = VT_I2;
        V_I2(&given[1]) = 2;
        V_VT(&given[0]) = VT_BSTR;
        V_BSTR(&given[0]) = one_;
        DISPPARAMS params{given, nullptr, 3, 0};
        constexpr DISPID kExtract = 5;
        const HRESULT code = tools_->Invoke(
            kExtract, IID_NULL, 0, DISPATCH_METHOD, &params, common_.put(), nullptr, nullptr);
        if (code != DISP_E_EXCEPTION) {
            return code;
        }
        const Disarmed resting;
        SetErrorInfo(0, nullptr);
        return E_OUTOFMEMORY;
    }

    Str key_{L"Cust"};
    Str other_{L"Other"};
    Str main_{L"Main"};
    Str file_{L"CUST"};
    Str id_{L"17"};
    Str value_{L"Oslo"};
    Str name_{L"NAME"};
    Str one_{L"1"};
    Str list1_{L"List"};
    Str select_{L"SELECT CUST"};
    ComPtr<_kelBase> base_;
    ComPtr<_kelSessionCallBack> session_;
    ComPtr<_kelTools> tools_;
    ComPtr<_kelDictItem> item_;
    ComPtr<_kelInfo> info_;
    ComPtr<_Collection> list_;
    Listening listening_;
    Bstr text_;
    Bstr next_;
    Variant common_;
    VARIANT_BOOL flag_ = VARIANT_FALSE;
    short code_ = 0;
};

TEST_F(FailingMemory, OneAllocationAfterTheOtherIsSurvived) {
    constexpr long kNever = 1000000;
    const std::size_t steps = run(kNever);
    const long allocations = AllocationsCounted();
    letGo();
    RestartApartment();
    EXPECT_GT(allocations, 200);
    std::printf("%ld allocations in %zu steps, each failing once\n", allocations, steps);
    for (long failing = 1; failing <= allocations; ++failing) {
        backend.reset();
        arrange();
        const std::size_t done = run(failing);
        // The record is the old one or the new one.
        const Text record = backend.record(L"CUST", L"17").value_or(L"gone");
        EXPECT_TRUE(record == L"Smith\xFELondon" || record == L"Smith\xFELondon\xFDOslo")
            << "allocation " << failing << ", step " << done << ": " << Narrow(record);
        letGo();
        RestartApartment();
        if (failing % 10 == 0) {
            backend.reset();
            arrange();
            EXPECT_EQ(run(kNever), steps) << "after allocation " << failing;
            letGo();
            RestartApartment();
        }
        if (HasFailure()) {
            return;
        }
    }
}

}  // namespace
}  // namespace kel::tests
