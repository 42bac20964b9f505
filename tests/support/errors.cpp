#include "tests/support/errors.h"

namespace kel::tests {
namespace {

Text Take(BSTR owned) {
    return Text(Bstr::Adopt(owned).view());
}

Text Field(IErrorInfo& info, HRESULT (STDMETHODCALLTYPE IErrorInfo::*getter)(BSTR*)) {
    Bstr text;
    (info.*getter)(text.put());
    return Text(text.view());
}

}  // namespace

void PrintTo(const ErrorFields& error, std::ostream* stream) {
    *stream << error.number << " from \"" << Narrow(error.source) << "\": \""
            << Narrow(error.description) << "\"";
    if (!error.helpFile.empty() || error.helpContext != 0) {
        *stream << " (help \"" << Narrow(error.helpFile) << "\" " << error.helpContext << ")";
    }
}

ErrorFields ErrorOf(HRESULT code) {
    if (SUCCEEDED(code)) {
        return {};
    }
    ErrorFields result;
    result.number = automation::NumberOfCode(code);
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, info.put()) == S_OK) {
        result.source = Field(*info, &IErrorInfo::GetSource);
        result.description = Field(*info, &IErrorInfo::GetDescription);
        result.helpFile = Field(*info, &IErrorInfo::GetHelpFile);
        info->GetHelpContext(&result.helpContext);
    }
    return result;
}

ErrorFields ErrorOf(EXCEPINFO& exception) {
    if (exception.pfnDeferredFillIn != nullptr) {
        exception.pfnDeferredFillIn(&exception);
    }
    ErrorFields result;
    result.number = exception.wCode != 0 ? static_cast<long>(exception.wCode)
                                         : automation::NumberOfCode(exception.scode);
    result.source = Take(exception.bstrSource);
    result.description = Take(exception.bstrDescription);
    result.helpFile = Take(exception.bstrHelpFile);
    result.helpContext = exception.dwHelpContext;
    exception = {};
    return result;
}

ErrorFields ErrorOf(const automation::Error& error) {
    return ErrorOf(error.publish());
}

HRESULT Raise(const ErrorFields& error) {
    ComPtr<ICreateErrorInfo> info;
    if (SUCCEEDED(CreateErrorInfo(info.put()))) {
        info->SetSource(const_cast<LPOLESTR>(error.source.c_str()));
        info->SetDescription(const_cast<LPOLESTR>(error.description.c_str()));
        info->SetHelpFile(const_cast<LPOLESTR>(error.helpFile.c_str()));
        info->SetHelpContext(error.helpContext);
        SetErrorInfo(0, info.as<IErrorInfo>().get());
    }
    return automation::CodeOfNumber(error.number);
}

}  // namespace kel::tests
