// A session on the test back-end, and the classes of the client folder over it.
#pragma once

#include "client/tools.h"
#include "tests/registry/session.h"

namespace kel::tests {

inline constexpr const wchar_t* kSession = L"Main";
inline constexpr const wchar_t* kKey = L"Customer";
inline constexpr const wchar_t* kFile = L"CUST";

// The key field Customer, tied to file CUST in session Main. The back-end holds record 17 of CUST.
class ClientTest : public SessionTest {
protected:
    ClientTest();

    // Connects the session; fails the test when that does not work.
    void connect();
    // Reads record 17 into the key field and forgets the calls it took.
    void readRecord();
    // Ends the session with its engine; the key field stays.
    void endSession();
    // An item of the key field at a position, with nothing else set.
    ComPtr<client::DictItem> makeItem(long amc = 0, long vmc = 0, long smc = 0) const {
        return Item(kKey, amc, vmc, smc);
    }
    ComPtr<_kelInfo> recordState() const;
    // The text of the key field's record buffer.
    Text buffer() const;
    Text recNo() const;

    EventRecorder* const sessionEvents = session.sink.get();
    EventRecorder* fieldEvents = nullptr;
};

// Properties of an item as texts, for comparing; a failing getter shows its error number.
Text TextOf(_kelDictItem& item, HRESULT (STDMETHODCALLTYPE _kelDictItem::*getter)(BSTR*));
// "3.2.0": the position that the item shows to the engine.
Text PositionOf(_kelDictItem& item);

// What a getter with a row index answers; "error N" when it fails.
using IndexedGetter = HRESULT (STDMETHODCALLTYPE _kelDictItem::*)(short, BSTR*);
Text ValueOf(_kelDictItem& item, IndexedGetter getter, short index = 0);

}  // namespace kel::tests
