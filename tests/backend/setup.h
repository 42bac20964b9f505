// What a script needs of a test and cannot do itself: records and programs of the test back-end,
// and listening to events. "kelTests.Setup", late-bound only.
#pragma once

#include <list>
#include <memory>

#include "tests/support/event_recorder.h"

namespace kel::tests {

// Members by name:
//   PutRecord file, id, text     Text marks are written ^ ] \ .
//   PutDictItem file, name, attribute, conversion, label, justification, correlative, length
//   PutProgram name              A program that appends "!" to its first argument.
//   Listen source                Writes the events of its default source interface down and answers
//                                the property OsType with 99.
//   Heard                        The events since the last call, parted by blanks.
//   Deaf                         Stops listening to everything.
//   Marked text                  The text with its marks.
class Setup final : public MuteObject {
public:
    STDMETHODIMP
    GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept override;
    STDMETHODIMP Invoke(DISPID id,
                        REFIID riid,
                        LCID lcid,
                        WORD flags,
                        DISPPARAMS* params,
                        VARIANT* result,
                        EXCEPINFO* exception,
                        UINT* argumentIndex) noexcept override;

private:
    struct Listening {
        ComPtr<EventRecorder> recorder;
        std::unique_ptr<Subscription> subscription;
    };

    ~Setup() override = default;

    void listen(IUnknown* source);
    Text heard();

    std::list<Listening> listening_;
    std::vector<Text> lines_;
};

}  // namespace kel::tests
