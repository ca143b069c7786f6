// Finding a contact by address through the add-in's store session: 10,000 contacts spread over
// the Contacts folder and two folders below it, looked up as message scoring does for a sender.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "COutlookContext.h"
#include "addin_ids.h"
#include "installation.h"
#include "mapiutil.h"
#include "outlook_application.h"
#include "temp_home.h"

namespace {

using orvella::platform::mapi::ComPtr;

constexpr int kContacts = 10000;
constexpr int kFolders = 3;

void Check(HRESULT hr, const char* what) {
    if (FAILED(hr)) throw std::runtime_error(std::string(what) + " failed");
}

// Contact k's e-mail address in slot (0..2); every second contact has a second one, every
// fourth a third.
std::string Address(int k, int slot) {
    static const char* kDomains[] = {"example.org", "corp.example", "mail.example"};
    switch (slot) {
        case 0:
            return "person." + std::to_string(k) + "@" + kDomains[k % 3];
        case 1:
            return k % 2 ? "" : "p" + std::to_string(k) + "@home.example";
        default:
            return k % 4 ? "" : "member." + std::to_string(k) + "@club.example";
    }
}

// An installation with the contacts in place and an initialised session over it, built once.
struct Installed {
    orvella::testing::TempHome home;
    ComPtr<_Application> application;
    ComPtr<_NameSpace> nameSpace;
    std::unique_ptr<COutlookContext> context;

    Installed() {
        std::fprintf(stderr, "generating %d contacts in %d folders...\n", kContacts, kFolders);
        orvella::host::Install({});
        application = orvella::host::outlook::CreateOutlookApplication();
        Check(application->GetNamespace("MAPI", &nameSpace), "GetNamespace");
        Open();
        ComPtr<IMAPIFolder> folders[kFolders] = {
            context->GetContactsFolder(true),
            context->GetOrCreateFolder(context->GetContactsFolder(true).Get(), "Orvella Contacts"),
            context->GetOrCreateFolder(context->GetContactsFolder(true).Get(), "Friends")};
        const ContactPropTagTable& tags = context->ContactPropTags();
        const ContactProp fields[3][2] = {{CP_EMAIL1_ADDRESS, CP_EMAIL1_DISPLAY_NAME},
                                          {CP_EMAIL2_ADDRESS, CP_EMAIL2_DISPLAY_NAME},
                                          {CP_EMAIL3_ADDRESS, CP_EMAIL3_DISPLAY_NAME}};
        for (int k = 0; k < kContacts; ++k) {
            std::string texts[4] = {"Person " + std::to_string(k), Address(k, 0), Address(k, 1),
                                    Address(k, 2)};
            SPropValue values[9] = {};
            ULONG count = 0;
            auto text = [&](ULONG tag, std::string& value) {
                values[count].ulPropTag = tag;
                values[count++].Value.lpszA = value.data();
            };
            std::string contactClass = "IPM.Contact";
            text(PR_MESSAGE_CLASS_A, contactClass);
            text(PR_DISPLAY_NAME_A, texts[0]);
            for (int slot = 0; slot < 3; ++slot) {
                if (texts[1 + slot].empty()) continue;
                text(tags[fields[slot][0]], texts[1 + slot]);
                text(tags[fields[slot][1]], texts[1 + slot]);
            }
            ComPtr<IMessage> contact;
            Check(folders[k % kFolders]->CreateMessage(nullptr, 0, &contact), "CreateMessage");
            Check(contact->SetProps(count, values, nullptr), "SetProps");
            Check(contact->SaveChanges(0), "SaveChanges");
        }
        Open();  // the folder list now holds the two new folders
    }
    ~Installed() {
        context.reset();
        nameSpace.Reset();
        application.Reset();
    }
    void Open() {
        context.reset();
        context = std::make_unique<COutlookContext>(nameSpace.Get(), CLSID_Connect);
        context->Initialize();
    }
};

Installed& Installation() {
    static Installed installed;  // built at the first benchmark, removed at exit
    return installed;
}

// A contact of the last folder by its first address: every folder of the list is searched.
void BM_FindContactInLastFolder(benchmark::State& state) {
    COutlookContext& context = *Installation().context;
    int k = 2;
    for (auto _ : state) {
        EntryId found = context.FindContactEIDByEmail(Address(k, 0));
        if (found.empty()) state.SkipWithError("contact not found");
        benchmark::DoNotOptimize(found);
        k = (k + kFolders * 7) % kContacts;
    }
}
BENCHMARK(BM_FindContactInLastFolder)->Unit(benchmark::kMicrosecond);

// A contact of the first folder by its third address.
void BM_FindContactByThirdAddress(benchmark::State& state) {
    COutlookContext& context = *Installation().context;
    int k = 0;
    for (auto _ : state) {
        EntryId found = context.FindContactEIDByEmail(Address(k, 2));
        if (found.empty()) state.SkipWithError("contact not found");
        benchmark::DoNotOptimize(found);
        k = (k + 12) % kContacts;
    }
}
BENCHMARK(BM_FindContactByThirdAddress)->Unit(benchmark::kMicrosecond);

// An address no contact has: the common case for mail from strangers.
void BM_AddressWithoutContact(benchmark::State& state) {
    COutlookContext& context = *Installation().context;
    int k = 0;
    for (auto _ : state) {
        EntryId found =
            context.FindContactEIDByEmail("stranger." + std::to_string(k++) + "@x.example");
        if (!found.empty()) state.SkipWithError("a stranger was found");
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(BM_AddressWithoutContact)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
