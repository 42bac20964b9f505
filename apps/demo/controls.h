// Three controls of an imagined form. A control holds the key field's callback, whose events tell
// it when to show its value again, and dictionary items, which say what the value is.
#pragma once

#include "apps/demo/event_log.h"

namespace kel::demo {

// What every bound control does with the events of its key field. What it hears and shows goes to
// the log, which here takes the place of the screen.
class BoundControl {
public:
    BoundControl(const BoundControl&) = delete;
    BoundControl& operator=(const BoundControl&) = delete;

protected:
    BoundControl(EventLog& log, TextView name, Field field)
        : log_(log), name_(name), field_(std::move(field)) {}
    virtual ~BoundControl() = default;

    // To be called when the control's items are there: from here on it hears.
    void Begin();

    // The control's content as a person sees it.
    virtual Text Content() const = 0;
    // Whether the control shows anything of attribute `amc`.
    virtual bool ShowsAttribute(long amc) const = 0;
    virtual void CommonValueChanged(TextView) {}

private:
    void Hear(FieldEvent event, const Arguments& arguments);
    void Refresh(const Arguments& position);
    void Show() { log_.Add(name_, L"  shows " + Content()); }

    EventLog& log_;
    const Text name_;
    const Field field_;
    Subscription subscription_;
};

// Shows and edits one attribute.
class TextBox : public BoundControl {
public:
    TextBox(EventLog& log, const Binding& binding, Field field)
        : BoundControl(log, binding.controlName, std::move(field)),
          amc_(binding.amc),
          item_(binding) {
        Begin();
    }

    // What happens when the user types a text and leaves the box.
    void Enter(TextView text) const;

protected:
    Text Content() const override;
    bool ShowsAttribute(long amc) const override { return amc == amc_; }

private:
    const long amc_;
    const DictItem item_;
};

// Shows the rows of associated multivalued attributes: value n of each makes row n.
class RowList final : public BoundControl {
public:
    // The attributes follow each other from `binding.amc` on.
    RowList(EventLog& log, Binding binding, int columns, Field field);

private:
    Text Content() const override;
    bool ShowsAttribute(long amc) const override;
    Text Row(short row) const;

    const long firstAmc_;
    std::vector<DictItem> columns_;
};

// A text box that follows a common value: when somebody sets it, the box reads the record of that
// id into its own key field.
class Follower final : public TextBox {
public:
    Follower(EventLog& log,
             const Binding& binding,
             Field field,
             Session session,
             TextView commonName,
             TextView fileName)
        : TextBox(log, binding, std::move(field)),
          session_(std::move(session)),
          keyId_(binding.keyId),
          commonName_(commonName),
          fileName_(fileName) {}

private:
    void CommonValueChanged(TextView commonName) override;

    const Session session_;
    const Text keyId_;
    const Text commonName_;
    const Text fileName_;
};

}  // namespace kel::demo
