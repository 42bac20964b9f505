// The one state of the test back-end: its script, its database and its living back-end objects.
#pragma once

#include <map>
#include <utility>

#include "kelSDK.h"
#include "tests/backend/opaque.h"
#include "tests/backend/script.h"

namespace kel::tests {

class State final : public TestBackend {
public:
    using RecordName = std::pair<Text, Text>;  // file and id, or file and dictionary name

    // ------------------------------------------------------------------ for the back-end objects

    Script script;
    std::map<Text, std::map<Text, Text>> files;
    std::map<RecordName, long> lockHolders;
    std::map<RecordName, DictItem> dictionary;
    std::map<Text, Program> programs;
    std::map<short, Text> versions;
    std::map<Text, Text> propertyTexts;
    bool connectedAtStart = false;

    State() { reset(); }

    long enter();  // the new object's number
    void leave(long host, bool isConnected);
    // Takes a lock, or answers false when somebody else has it.
    bool lock(const RecordName& record, long host);
    void unlock(const RecordName& record, long host);

    // ------------------------------------------------------------------ TestBackend

    void reset() override;
    std::vector<RecordedCall> calls() const override { return script.calls(); }
    void clearCalls() override { script.clearCalls(); }
    void addRule(Member member, When when, Phase phase, Handler handler) override;
    void addCallRule(long number, Phase phase, Handler handler) override;
    void setVersion(short osType, TextView version) override { versions[osType] = version; }
    Text propertyValue(TextView name) const override;
    void setConnectedAtStart(bool connected) override { connectedAtStart = connected; }
    void createFile(TextView file) override { files[Text(file)]; }
    void putRecord(TextView file, TextView id, TextView text) override;
    std::optional<Text> record(TextView file, TextView id) const override;
    void lockRecord(TextView file, TextView id, long host) override;
    Lines locks() const override;
    void putDictItem(TextView file, TextView name, const DictItem& item) override;
    std::optional<DictItem> dictItem(TextView file, TextView name) const;
    void putProgram(TextView name, Program program) override;
    LiveObjects live() const override;
    long releasedConnected() const override { return releasedConnected_; }
    ComPtr<IDispatch> makeArray(TextView text) override;
    std::optional<Text> arrayText(IUnknown* array) const override;
    Text nameOf(IUnknown* object) const override { return Opaque::NameOf(object); }

private:
    long liveHosts_ = 0;
    long lastHost_ = 0;
    long releasedConnected_ = 0;
};

State& TheState();

// Raises what a test wants raised; the HRESULT to return.
HRESULT RaiseFailure(const Failure& failure);

// A back-end object: every entry of the interface written down and scripted, and behind that a
// small database in memory.
ComPtr<_mviHostDLL> MakeHost(short osType);

}  // namespace kel::tests
