// A second window on the same key field: it follows every change of the record, keystroke by
// keystroke, and its own changes are followed by the first.
#pragma once

#include <memory>

#include "apps/binding/rows_control.h"
#include "apps/binding/value_control.h"
#include "apps/kelform/ui.h"

namespace kel::form {

class FollowerWindow final : public Window {
public:
    explicit FollowerWindow(binding::KeyField& field);
    ~FollowerWindow() override { Close(); }

private:
    void Build() override;
    bool MayClose() override;

    binding::KeyField& field_;
    std::vector<std::unique_ptr<binding::FieldControl>> controls_;
};

}  // namespace kel::form
