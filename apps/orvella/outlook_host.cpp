// The command line's Outlook: the host application with the add-in's reporter attached.
#include "outlook_host.h"

#include <cstdio>

#include "BaseException.h"
#include "CExceptionReporter.h"
#include "addin_ids.h"
#include "commands.h"
#include "outlook_application.h"
#include "profile.h"

namespace orvella::cli {
namespace {

// A message window the add-in opened (an error report, for one): the host saved it as a draft.
void ReportWindow(const host::outlook::DisplayedItem& item) {
    std::fprintf(stderr, "Outlook opened a message window; it is saved in Drafts as %s\n",
                 item.entryId.c_str());
    std::fprintf(stderr, "  Subject: %s\n", item.subject.c_str());
    for (const std::string& recipient : item.recipients)
        std::fprintf(stderr, "  To: %s\n", recipient.c_str());
    std::fprintf(stderr, "  (`orvella show %s` shows it whole)\n", item.entryId.c_str());
}

}  // namespace

OutlookHost::OutlookHost() {
    const std::string profile = platform::mapi::store::DefaultProfileName();
    if (!platform::mapi::store::ProfileExists(profile))
        throw CommandError("there is no profile \"" + profile +
                           "\"; `orvella init` installs Orvella and creates it");
    try {
        application_ = host::outlook::CreateOutlookApplication();
    } catch (const std::exception& failure) {
        throw CommandError(failure.what());
    }
    if (FAILED(application_->GetNamespace("MAPI", &nameSpace_)))
        throw CommandError("Outlook has no MAPI namespace");
    platform::mapi::ComPtr<host::outlook::HostApplication> host;
    if (SUCCEEDED(application_.As(host::outlook::IID_HostApplication, host)))
        host->SetDisplayListener(ReportWindow);
    diag::ExceptionReporter().SetApplication(application_.Get());
}

OutlookHost::~OutlookHost() {
    diag::ExceptionReporter().SetApplication(nullptr);
}

void WithStoreSession(bool initialize,
                      const std::function<void(OutlookHost&, COutlookContext&)>& body) {
    OutlookHost outlook;
    try {
        COutlookContext context(outlook.NameSpace(), CLSID_Connect);
        if (initialize) context.Initialize();
        body(outlook, context);
    } catch (const diag::BaseException& failure) {
        diag::ExceptionReporter().Report(failure);
        throw CommandError(failure.GetMessage() ? failure.GetMessage() : "the session failed");
    }
}

}  // namespace orvella::cli
