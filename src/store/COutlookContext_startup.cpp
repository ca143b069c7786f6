// The start-up preparation, and the start-up steps whose records are not kept yet.
#include "COutlookContext.h"
#include "store_failures.h"

using namespace store_failures;

void COutlookContext::Initialize() {
    InitContactFolder();
    ComPtr<IMAPIFolder> topicRoot;
    try {
        topicRoot = OpenTopicRoot();
    } catch (const orvella::diag::BaseException& failure) {
        ReportFailure(failure);
    }
    InitContactProps();
    // Creating names needs a folder opened for writing.
    InitItemsProps(GetInboxFolder(true).Get(), itemsTags_);
    if (topicRoot) InitItemsProps(topicRoot.Get(), appItemsTags_);
    InstallFormAndViews();
    if (!IsOffline()) MarkSetupFolders();
    LoadThreads();
    LoadStatistics();
}

// The steps below belong to records the store layer does not keep yet: contacts and the
// directory, the user's identity, thread records, statistics, the form and the views. Each is
// called where start-up needs it, so that filling one in changes nothing around it.

void COutlookContext::InstallFormAndViews() {}
