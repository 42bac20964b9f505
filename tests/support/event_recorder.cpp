#include "tests/support/event_recorder.h"

#include "automation/error.h"
#include "automation/type_library.h"

namespace kel::tests {
namespace {

std::map<DISPID, Text> EventNames(REFIID events) {
    const auto info = automation::TypeInfoOf(events);
    TYPEATTR* attributes = nullptr;
    automation::Check(info->GetTypeAttr(&attributes));
    std::map<DISPID, Text> names;
    for (UINT i = 0; i < attributes->cFuncs; ++i) {
        FUNCDESC* function = nullptr;
        if (SUCCEEDED(info->GetFuncDesc(i, &function))) {
            Bstr name;
            info->GetDocumentation(function->memid, name.put(), nullptr, nullptr, nullptr);
            names[function->memid] = name.view();
            info->ReleaseFuncDesc(function);
        }
    }
    info->ReleaseTypeAttr(attributes);
    return names;
}

ComPtr<IConnectionPoint> PointOf(IUnknown* source, REFIID events) {
    ComPtr<IConnectionPoint> point;
    if (const auto container = ComPtr<IUnknown>(source).as<IConnectionPointContainer>()) {
        container->FindConnectionPoint(events, point.put());
    }
    return point;
}

}  // namespace

void Event::answer(std::size_t index, TextView text) {
    const VARIANTARG& target = raw(index);
    if (V_VT(&target) == (VT_BYREF | VT_BSTR)) {
        Bstr answer(text);
        std::swap(*V_BSTRREF(&target), *answer.inOut());
    } else if (V_VT(&target) == (VT_BYREF | VT_VARIANT)) {
        Variant answer(text);
        std::swap(*V_VARIANTREF(&target), *answer.inOut());
    }
}

Text Event::line() const {
    Text result = name_ + L"(";
    for (std::size_t i = 0; i < count(); ++i) {
        result += (i > 0 ? L"," : L"") + Shown(raw(i));
    }
    return result + L")";
}

EventRecorder::EventRecorder(REFIID events, Knows knows)
    : events_(events), knows_(knows), names_(EventNames(events)) {}

ComPtr<EventRecorder> EventRecorder::Make(REFIID events, Knows knows) {
    return ComPtr<EventRecorder>::Adopt(new EventRecorder(events, knows));
}

void EventRecorder::alsoTo(std::vector<Text>* shared, TextView prefix) {
    shared_ = shared;
    prefix_ = prefix;
}

bool EventRecorder::answers(REFIID iid) const noexcept {
    return (knows_ != Knows::kOnlyUnknown && IsEqualIID(iid, IID_IDispatch)) ||
           (knows_ == Knows::kEvents && IsEqualIID(iid, events_));
}

STDMETHODIMP EventRecorder::Invoke(
    DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*, UINT*) {
    const ComPtr<EventRecorder> keep(this);
    const auto name = names_.find(id);
    Event event(name != names_.end() ? name->second : L"#" + std::to_wstring(id), *params);
    lines_.push_back(event.line());
    if (shared_ != nullptr) {
        shared_->push_back(prefix_ + event.line());
    }
    if (event.count() > 1) {
        const auto answer = answers_.find(Shown(event.argument(0).get()));
        if (answer != answers_.end()) {
            event.answer(event.count() - 1, answer->second);
        }
    }
    if (action_) {
        const auto action = action_;  // it may set another
        action(event);
    }
    return code_;
}

Subscription::Subscription(IUnknown* source, REFIID events, IUnknown* sink)
    : point_(PointOf(source, events)) {
    if (!point_ || FAILED(point_->Advise(sink, &cookie_))) {
        point_.reset();
    }
}

HRESULT Subscription::end() {
    const ComPtr<IConnectionPoint> point = std::move(point_);
    return point ? point->Unadvise(std::exchange(cookie_, 0)) : S_FALSE;
}

DWORD Advise(IUnknown* source, REFIID events, IUnknown* sink) {
    Subscription subscription(source, events, sink);
    subscription.abandon();
    return subscription.cookie();
}

}  // namespace kel::tests
