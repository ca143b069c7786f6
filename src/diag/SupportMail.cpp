// Writing the support mail through the Outlook object model.
#include "SupportMail.h"

#include "mapi_ptr.h"

namespace orvella::diag {

using platform::mapi::ComPtr;

HRESULT CreateSupportMail(_Application* application, const std::string& address,
                          const std::string& text) {
    if (!application) return E_POINTER;
    ComPtr<IDispatch> item;
    HRESULT hr = application->CreateItem(Outlook::olMailItem, item.Put());
    if (FAILED(hr)) return hr;
    ComPtr<_MailItem> mail;
    if (FAILED(hr = item.As(IID__MailItem, mail))) return hr;

    ComPtr<Recipients> recipients;
    if (FAILED(hr = mail->get_Recipients(recipients.Put()))) return hr;
    ComPtr<Recipient> recipient;
    if (FAILED(hr = recipients->Add(address, recipient.Put()))) return hr;
    if (FAILED(hr = mail->put_Subject("Error Report"))) return hr;
    const std::string body = "<PLEASE ENTER DETAILS ON HOW THIS ERROR OCCURRED HERE>\n\n" +
                             std::string(108, '-') + "\n" + text;
    if (FAILED(hr = mail->put_Body(body))) return hr;
    return mail->Display(VariantMissing());
}

}  // namespace orvella::diag
