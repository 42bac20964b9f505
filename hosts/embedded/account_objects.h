// The objects that stored programs see: Account, its files, Arguments.
#pragma once

#include <span>

#include "automation/com_ptr.h"
#include "automation/object.h"
#include "kelScript.h"

namespace kel::embedded {

class Connection;

// The object for the name Account. It can be kept by a script beyond the connection and then raises
// 10102; EndAccount says when.
automation::ComPtr<IDispatch> MakeAccount(Connection& connection);
void EndAccount(IDispatch& account) noexcept;

// The arguments of the call under way. One object serves an engine for all its calls.
class ProgramArguments final : public automation::Object<kelArguments, _kelArguments> {
public:
    // Borrowed; empty between calls.
    std::span<VARIANT* const> current;

    STDMETHODIMP get_Count(long* result) noexcept override;
    STDMETHODIMP get_Item(long index, VARIANT* result) noexcept override;
    STDMETHODIMP put_Item(long index, VARIANT value) noexcept override;

private:
    ~ProgramArguments() override = default;

    VARIANT& at(long index) const;  // throws 9
};

}  // namespace kel::embedded
