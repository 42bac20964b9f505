// An open account: programs for its sentences, lists that end with it, evaluators that are kept.
#include "hosts/embedded/connection.h"

#include <algorithm>
#include <atomic>

#include "hosts/embedded/edges.h"

namespace kel::embedded {

using text::Text;
using text::TextView;

namespace {

// Forms differ in few correlatives; a client that has more begins afresh now and then.
constexpr std::size_t kKeptEvaluators = 500;

unsigned long NextConnection() noexcept {
    static std::atomic<unsigned long> last = 0;
    return ++last;
}

}  // namespace

void AccountEnvironment::CallProgram(TextView name, std::vector<Text>& arguments) {
    std::vector<automation::Variant> values;
    std::vector<VARIANT*> addresses;
    values.reserve(arguments.size());
    addresses.reserve(arguments.size());
    for (const Text& argument : arguments) {
        values.emplace_back(Wide(argument));
    }
    for (automation::Variant& value : values) {
        addresses.push_back(value.inOut());
    }
    programs_->run(name, addresses);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        arguments[i] = Units(values[i].text().view());
    }
}

Connection::Connection(const ConnectionOptions& options)
    : limit_(options.timeLimitMs),
      store_(OpenStore(options.path, options.store)),
      environment_(*store_, options.family, options.dateOrder),
      keeper_(options.path, options.family, options.dateOrder),
      session_(*store_, environment_),
      programs_(*this, options.programs, options.application),
      lockWaitMs_(options.lockWaitMs),
      number_(NextConnection()) {
    if (limit_.isOn()) {
        store_->UseStop(limit_.isOver());
    }
    environment_.UsePrograms(programs_);
    session_.SetUser(options.store.user);
    session_.UseKeeper(&keeper_);
}

Connection::~Connection() {
    end();
}

void Connection::end() noexcept {
    programs_.end();
    for (const auto& given : std::exchange(lists_, {})) {
        if (const auto list = given.lock()) {
            list->list.reset();
        }
    }
    automation::Ignoring([&] { store_->UnlockAll(); });
}

bool Connection::beginCall() {
    if (!limit_.begin()) {
        return false;
    }
    store_->BeginCall();
    return true;
}

void Connection::endCall() {
    const bool isOver = limit_.end();
    store_->EndCall(!isOver);
    if (isOver) {
        limit_.raise();
    }
}

std::shared_ptr<OpenList> Connection::handOut(std::unique_ptr<query::SelectList> list) {
    programs_.requireOpen();
    std::erase_if(lists_, [](const auto& given) { return given.expired(); });
    auto open = std::make_shared<OpenList>(OpenList{std::move(list), weak_from_this()});
    lists_.push_back(open);
    return open;
}

automation::Bstr Connection::evaluate(TextView internalForm, expression::EvaluationInput input) {
    Evaluators working;
    if (const auto found = evaluators_.find(internalForm); found != evaluators_.end()) {
        working.insert(evaluators_.extract(found));
    } else {
        working.emplace(internalForm,
                        std::make_unique<expression::CorrelativeEvaluator>(
                            expression::ReadExpression(internalForm), environment_));
    }
    expression::CorrelativeEvaluator& evaluator = *working.begin()->second;
    Text id;
    Text value;
    if (evaluator.Compiled().Uses(expression::Operation::kCall)) {
        // Copies: the program may change the buffer and its caller's variables.
        input.record->Whole();
        input.id = id = input.id;
        input.value = value = input.value;
    }
    automation::Bstr result(Wide(evaluator.Evaluate(input)));
    if (evaluators_.size() >= kKeptEvaluators) {
        evaluators_.clear();
    }
    evaluators_.merge(working);
    return result;
}

}  // namespace kel::embedded
