// The one state of the test back-end: its script, its database and its living back-end objects.
#pragma once

#include <map>
#include <utility>

#include "tests/backend/opaque.h"
#include "tests/backend/script.h"

namespace kel::tests {

class Host;

class State final : public TestBackend {
public:
    using RecordName = std::pair<Text, Text>;  // file and id, or file and dictionary name

    static constexpr long kSomebodyElse = 0;

    // ------------------------------------------------------------------ for the back-end objects

    Script script;
    std::map<Text, std::map<Text, Text>> files;
    std::map<RecordName, long> lockHolders;
    std::map<RecordName, DictItem> dictionary;
    std::map<Text, Program> programs;
    std::map<short, Text> versions;
    std::vector<Property> properties;
    bool connectedAtStart = false;

    State() { reset(); }

    long enter(Host& host);  // the new object's number
    void leave(Host& host);
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
    void setProperties(std::vector<Property> list) override { properties = std::move(list); }
    Text propertyValue(TextView name, long host) const override;
    void setConnectedAtStart(bool connected) override { connectedAtStart = connected; }
    void setConnected(bool connected, long host) override;
    void createFile(TextView file) override { files[Text(file)]; }
    void putRecord(TextView file, TextView id, TextView text) override;
    std::optional<Text> record(TextView file, TextView id) const override;
    void lockRecord(TextView file, TextView id, long host) override;
    void unlockRecord(TextView file, TextView id) override;
    Lines locks() const override;
    void putDictItem(TextView file, TextView name, const DictItem& item) override;
    std::optional<DictItem> dictItem(TextView file, TextView name) const override;
    void putProgram(TextView name, Program program) override;
    LiveObjects live() const override;
    ComPtr<IDispatch> makeArray(TextView text) override;
    std::optional<Text> arrayText(IUnknown* array) const override;
    Text nameOf(IUnknown* object) const override { return Opaque::NameOf(object); }
    bool isOpen(IUnknown* object) const override;

private:
    Host* find(long number) const;

    std::vector<Host*> hosts_;  // alive, oldest first
    long lastHost_ = 0;
};

State& TheState();

}  // namespace kel::tests
