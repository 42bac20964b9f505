// Finding programs, running them, and telling where they fail.
#include "hosts/embedded/programs.h"

#include "hosts/embedded/account_objects.h"
#include "hosts/embedded/connection.h"
#include "hosts/embedded/edges.h"
#include "hosts/embedded/stored_program.h"

namespace kel::embedded {

using automation::ComPtr;
using automation::Error;
using text::Text;
using text::TextView;

namespace {

// Programs that call one another without end would take the process with them.
constexpr int kDeepest = 32;

constexpr automation::TextView kNoObjects =
    L"A sealed program has the objects of the account and no others.";

Text Capitals(TextView text) {
    Text result(text);
    for (char16_t& unit : result) {
        if (unit >= u'a' && unit <= u'z') {
            unit = static_cast<char16_t>(unit - (u'a' - u'A'));
        }
    }
    return result;
}

// Counts a level of calls, whatever ends it.
class Level {
public:
    Level(int& depth, TextView name) : depth_(depth) {
        if (depth_ >= kDeepest) {
            throw Error(automation::kOverflow,
                        kHostSource,
                        automation::Text(L"Stored programs call one another too deeply, at \"")
                            .append(Wide(name))
                            .append(L"\"."));
        }
        ++depth_;
    }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;
    ~Level() { --depth_; }

private:
    int& depth_;
};

// Sentences of a sealed program are confined, whatever ends it.
class Confined {
public:
    Confined(command::Session& session, bool on) : session_(session), was_(session.IsConfined()) {
        session_.Confine(on);
    }
    Confined(const Confined&) = delete;
    Confined& operator=(const Confined&) = delete;
    ~Confined() { session_.Confine(was_); }

private:
    command::Session& session_;
    bool was_;
};

}  // namespace

Programs::Programs(Connection& connection, ProgramTrust trust, ComPtr<IDispatch> application)
    : connection_(connection), trust_(trust), application_(std::move(application)) {}

Programs::~Programs() {
    end();
}

Programs::Source Programs::find(TextView name) {
    store::Store& store = connection_.store();
    if (const auto file = store.FindFile(kProgramFile)) {
        for (const Text& written : {Text(name), Capitals(name)}) {
            for (const TextView suffix : {u"", u".vbs", u".js"}) {
                Source source{written + Text(suffix), {}};
                if (!source.id.empty() && store.Read(*file, source.id, source.text)) {
                    return source;
                }
            }
        }
    }
    throw text::Error(text::ErrorKind::kNoSuchProgram,
                      u"There is no stored program \"" + Text(name) + u"\" in the file " +
                          Text(kProgramFile) + u".");
}

void Programs::run(TextView name, std::span<VARIANT* const> arguments) {
    requireOpen();
    const CallLimit::Host host(connection_.limit());
    connection_.limit().check();
    if (trust_ == ProgramTrust::kNone) {
        throw text::Error(
            text::ErrorKind::kNotTrusted,
            u"The program \"" + Text(name) + u"\" may not run: the property Programs is None.");
    }
    const Level level(depth_, name);
    const Confined confined(connection_.session(), trust_ == ProgramTrust::kSealed);
    if (depth_ == 1) {
        told_.clear();
    }
    Source source = find(name);
    auto node = idle_.extract(source.id);
    if (node.empty() || node.mapped()->source() != source.text) {
        if (!account_) {
            account_ = MakeAccount(connection_);
        }
        std::map<Text, std::unique_ptr<StoredProgram>> fresh;
        fresh.emplace(
            source.id,
            std::make_unique<StoredProgram>(
                source.id,
                source.text,
                trust_ == ProgramTrust::kFull ? scripting::Trust::kFull : scripting::Trust::kNone,
                account_,
                application_));
        node = fresh.extract(fresh.begin());
    }
    const auto failure = [&] {
        const CallLimit::Script script(connection_.limit(), node.mapped()->engine());
        return node.mapped()->run(arguments);
    }();
    connection_.limit().check();
    if (failure) {
        throw told(source.id, *failure);
    }
    if (node.mapped()->isReusable() && !hasEnded_) {
        idle_.insert(std::move(node));
    }
}

Error Programs::told(TextView id, const scripting::ScriptFailure& failure) {
    if (told_.empty() || failure.description != told_) {
        told_ = automation::Text(L"Program \"").append(Wide(id)) + L"\"";
        if (failure.line) {
            told_ += L", line " + automation::DecimalText(static_cast<long>(*failure.line));
        }
        told_ += L": " + (failure.isRefusal ? automation::Text(kNoObjects) : failure.description);
    }
    return Error(failure.isRefusal ? NumberOf(text::ErrorKind::kNotTrusted) : failure.number,
                 kHostSource,
                 told_);
}

void Programs::requireOpen() const {
    if (hasEnded_) {
        throw Error(NotConnected, kHostSource, L"Not connected");
    }
}

void Programs::end() noexcept {
    hasEnded_ = true;
    // Out of reach first: what scripts hold may call back as it is let go of.
    std::exchange(idle_, {}).clear();
    if (account_) {
        EndAccount(*account_);
        account_.reset();
    }
}

}  // namespace kel::embedded
