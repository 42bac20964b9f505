#include "hosts/embedded/store/account_keeper.h"

#include "hosts/multivalue/conversion/store_environment.h"
#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/query/index_fields.h"

namespace kel::embedded {

using text::Text;
using text::TextView;

namespace {

// Keys of indexes with the environment that they need.
class KeysWithEnvironment final : public store::IndexKeys {
public:
    KeysWithEnvironment(store::Store& store, conversion::Family family, conversion::DateOrder order)
        : environment_(store, family, order), keys_(environment_) {}

    void KeysOf(store::FileNumber file,
                TextView description,
                TextView id,
                TextView record,
                std::vector<Text>& keys) override {
        keys_.KeysOf(file, description, id, record, keys);
    }

private:
    conversion::StoreEnvironment environment_;
    query::FieldIndexKeys keys_;
};

void Append(std::vector<Text>& lines, const std::vector<Text>& more) {
    lines.insert(lines.end(), more.begin(), more.end());
}

Text Counts(const AccountReport& report) {
    const struct {
        std::uint64_t count;
        TextView what;
    } counts[] = {{report.files, u" file(s), "},
                  {report.records, u" record(s), "},
                  {report.indexes, u" index(es), "},
                  {report.staleIndexes, u" of them to be built again, "},
                  {report.locks, u" lock(s) held."}};
    Text line;
    for (const auto& [count, what] : counts) {
        number::Number(static_cast<std::int64_t>(count)).AppendTo(line);
        line += what;
    }
    return line;
}

}  // namespace

IndexKeysMaker AccountFileKeeper::keys() const {
    return [family = family_, order = order_](store::Store& session) {
        return std::make_unique<KeysWithEnvironment>(session, family, order);
    };
}

AccountFileKeeper::Findings AccountFileKeeper::Check(TextView path) {
    const AccountReport report = CheckAccount(orOwn(path), keys());
    Findings findings{{Counts(report)}, report.faults.empty()};
    Append(findings.lines, report.faults);
    findings.lines.emplace_back(findings.isSound ? u"The account is sound."
                                                 : u"REPAIR-ACCOUNT mends what it can.");
    return findings;
}

AccountFileKeeper::Findings AccountFileKeeper::Repair(TextView path) {
    const AccountReport report = RepairAccount(orOwn(path), keys());
    Findings findings{{Counts(report)}, report.losses.empty()};
    Append(findings.lines, report.faults);
    Append(findings.lines, report.repairs);
    Append(findings.lines, report.losses);
    if (report.faults.empty() && report.repairs.empty()) {
        findings.lines.emplace_back(u"The account is sound; nothing was changed.");
    }
    return findings;
}

void AccountFileKeeper::Save(TextView target) {
    BackUpAccount(path_, target);
}

std::uint64_t AccountFileKeeper::Compact() {
    return CompactAccount(path_);
}

}  // namespace kel::embedded
