// Builds the benchmarks' stores through MAPI, one CreateMessage/SetProps/SaveChanges per item as
// the add-in and the host's delivery write them, and removes them when the run ends.
#include "store_fixture_bench.h"

#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <stdexcept>
#include <vector>

#include "home.h"
#include "mapiguid.h"
#include "mapitags.h"
#include "mapiutil.h"
#include "profile.h"
#include "temp_home.h"

namespace orvella::bench {

using platform::mapi::ComPtr;
using platform::mapi::MapiBuffer;
using platform::mapi::RowSetPtr;
namespace store = platform::mapi::store;

namespace {

// Everything the run generated. Stores close (their objects are released) before the home goes.
struct Environment {
    testing::TempHome home;  // the whole run's: stores survive from one benchmark to the next
    std::map<std::int64_t, std::unique_ptr<Mailbox>> mailboxes;
    std::map<std::int64_t, std::unique_ptr<ContactBook>> contact_books;

    Environment() { Check(MAPIInitialize(nullptr), "MAPIInitialize"); }
    ~Environment() {
        mailboxes.clear();
        contact_books.clear();
        MAPIUninitialize();
    }
};

Environment& Env() {
    static Environment environment;
    return environment;
}

// A deterministic generator, so that every run measures the same stores.
class Random {
public:
    std::uint64_t Next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }
    template <std::size_t N>
    const char* Pick(const char* const (&words)[N]) {
        return words[Next() % N];
    }

private:
    std::uint64_t state_ = 0x9E3779B97F4A7C15ULL;
};

constexpr const char* kFirstNames[] = {"anna",  "ben",   "carla", "david", "elena", "frank",
                                       "grace", "henry", "irene", "jonas", "karin", "lucas",
                                       "maria", "nils",  "olga",  "peter", "rosa",  "simon",
                                       "tanja", "uwe",   "vera",  "walter"};
constexpr const char* kLastNames[] = {"schmidt", "meyer",  "novak",  "garcia", "rossi",
                                      "dubois",  "jensen", "kowal",  "silva",  "brown",
                                      "nagy",    "berg",   "larsen", "moreau", "fischer"};
constexpr const char* kDomains[] = {"northwind.example", "contoso.example", "fabrikam.example",
                                    "mail.example",      "lists.example",   "adatum.example"};
constexpr const char* kPrefixes[] = {"", "", "", "Re: ", "Re: ", "Fwd: "};
constexpr const char* kTopics[] = {"Budget",  "Release", "Meeting", "Invoice", "Travel",
                                   "Roadmap", "Hiring",  "Support", "Contract"};
constexpr const char* kSubjects[] = {
    "review for next week", "status update",   "agenda",           "questions about the draft",
    "final numbers",        "schedule change", "notes from today", "action items"};

// 1 January 2023 00:00 UTC in 100-nanosecond intervals since 1601.
constexpr std::uint64_t kFirstDelivery = 133170048000000000ULL;
constexpr std::uint64_t kSecond = 10000000ULL;

SPropValue TimeValue(ULONG tag, std::uint64_t time) {
    SPropValue v = {};
    v.ulPropTag = tag;
    v.Value.ft.dwLowDateTime = static_cast<DWORD>(time);
    v.Value.ft.dwHighDateTime = static_cast<DWORD>(time >> 32);
    return v;
}

ULONG NamedTag(IMAPIProp* object, MAPINAMEID name, ULONG type) {
    LPMAPINAMEID names[] = {&name};
    MapiBuffer<SPropTagArray> tags;
    Check(object->GetIDsFromNames(1, names, MAPI_CREATE, &tags), "GetIDsFromNames");
    return PROP_TAG(type, PROP_ID(tags->aulPropTag[0]));
}

std::string ContactFirstName(std::int64_t k) {
    return kFirstNames[k % std::size(kFirstNames)];
}

std::string ContactLastName(std::int64_t k) {
    return kLastNames[(k / 7) % std::size(kLastNames)];
}

// The entry for `size` in `cache`, built by `build` at the first call. A failed build leaves no
// entry behind, so that later benchmarks fail too rather than measure a half-built store.
template <class Item, class Build>
Item& Cached(std::map<std::int64_t, std::unique_ptr<Item>>& cache, std::int64_t size,
             Build&& build) {
    auto found = cache.find(size);
    if (found != cache.end()) return *found->second;
    auto item = std::make_unique<Item>();
    item->size = size;
    build(*item);
    return *cache.emplace(size, std::move(item)).first->second;
}

// A session on a new profile with one personal store, the store open for writing.
void LogOnToNewProfile(const std::string& profile, ComPtr<IMAPISession>& session,
                       ComPtr<IMsgStore>& message_store) {
    store::StoreSetup setup{"Personal Folders", store::StoreKind::Personal, true, false};
    store::CreateProfile(profile, std::span(&setup, 1));
    Check(MAPILogonEx(0, const_cast<char*>(profile.c_str()), nullptr, MAPI_EXTENDED, &session),
          "MAPILogonEx");
    ComPtr<IMAPITable> stores;
    Check(session->GetMsgStoresTable(0, &stores), "GetMsgStoresTable");
    SizedSPropTagArray(1, columns) = {1, {PR_ENTRYID}};
    RowSetPtr rows;
    Check(HrQueryAllRows(stores.Get(), reinterpret_cast<LPSPropTagArray>(&columns), nullptr,
                         nullptr, 0, &rows),
          "HrQueryAllRows");
    if (rows->cRows != 1) throw std::runtime_error("the profile should hold one store");
    const SBinary& eid = rows->aRow[0].lpProps[0].Value.bin;
    Check(session->OpenMsgStore(0, eid.cb, reinterpret_cast<LPENTRYID>(eid.lpb), nullptr, MDB_WRITE,
                                &message_store),
          "OpenMsgStore");
}

ComPtr<IMAPIFolder> OpenFolder(IMsgStore* message_store, ULONG cb, LPENTRYID eid) {
    ComPtr<IMAPIFolder> folder;
    ULONG type = 0;
    Check(message_store->OpenEntry(cb, eid, nullptr, MAPI_MODIFY, &type, folder.PutUnknown()),
          "OpenEntry of a folder");
    return folder;
}

ComPtr<IMAPIFolder> OpenInbox(IMsgStore* message_store) {
    ULONG cb = 0;
    MapiBuffer<ENTRYID> eid;
    Check(message_store->GetReceiveFolder(const_cast<char*>("IPM.Note"), 0, &cb, &eid, nullptr),
          "GetReceiveFolder");
    return OpenFolder(message_store, cb, eid.Get());
}

void SaveNewItem(IMAPIFolder* folder, std::vector<SPropValue>& values) {
    ComPtr<IMessage> message;
    Check(folder->CreateMessage(nullptr, 0, &message), "CreateMessage");
    Check(message->SetProps(static_cast<ULONG>(values.size()), values.data(), nullptr), "SetProps");
    Check(message->SaveChanges(0), "SaveChanges");
}

// Reports how long generating `what` took, so that the run's output tells it apart from the
// measurements.
class GenerationTimer {
public:
    GenerationTimer(std::string what, std::int64_t items)
        : what_(std::move(what)), items_(items), start_(std::chrono::steady_clock::now()) {
        std::fprintf(stderr, "generating %s...\n", what_.c_str());
    }
    ~GenerationTimer() {
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
        std::fprintf(stderr, "generated %s in %.1f s (%.0f items/s)\n", what_.c_str(), seconds,
                     static_cast<double>(items_) / seconds);
    }
    GenerationTimer(const GenerationTimer&) = delete;
    GenerationTimer& operator=(const GenerationTimer&) = delete;

private:
    std::string what_;
    std::int64_t items_;
    std::chrono::steady_clock::time_point start_;
};

void FillMailbox(Mailbox& box) {
    const LONG threads = static_cast<LONG>(box.size / kMessagesPerThread);
    constexpr LONG kFirstThread = 100000;
    box.chosen_thread = kFirstThread + threads / 2;
    GenerationTimer timer(std::to_string(box.size) + " messages", box.size);
    Random random;
    std::uint64_t delivery = kFirstDelivery;
    std::string subject, sender;
    std::vector<SPropValue> values;
    for (std::int64_t i = 0; i < box.size; ++i) {
        subject = std::string(random.Pick(kPrefixes)) + random.Pick(kTopics) + " " +
                  random.Pick(kSubjects);
        sender = std::string(random.Pick(kFirstNames)) + "." + random.Pick(kLastNames) + "@" +
                 random.Pick(kDomains);
        delivery += (20 + random.Next() % 100) * kSecond;
        const std::uint64_t roll = random.Next() % 20;
        const LONG importance = roll == 0  ? IMPORTANCE_LOW
                                : roll < 3 ? IMPORTANCE_HIGH
                                           : IMPORTANCE_NORMAL;
        values = {
            TextValue(PR_MESSAGE_CLASS_A, "IPM.Note"),
            TextValue(PR_SUBJECT_A, subject),
            TextValue(PR_SENDER_EMAIL_ADDRESS_A, sender),
            TimeValue(PR_MESSAGE_DELIVERY_TIME, delivery),
            LongValue(PR_IMPORTANCE, importance),
            LongValue(box.thread_tag, kFirstThread + static_cast<LONG>(i % threads)),
        };
        SaveNewItem(box.inbox.Get(), values);
    }
}

// One search by thread id, so that the store has made the value index it answers through.
void PrepareThreadIndex(Mailbox& box) {
    ComPtr<IMAPITable> table;
    Check(box.inbox->GetContentsTable(0, &table), "GetContentsTable");
    SPropValue value = LongValue(box.thread_tag, box.chosen_thread);
    SRestriction restriction = {};
    restriction.rt = RES_PROPERTY;
    restriction.res.resProperty = {RELOP_EQ, box.thread_tag, &value};
    Check(table->FindRow(&restriction, BOOKMARK_BEGINNING, 0), "FindRow by thread id");
}

void FillContacts(ContactBook& book) {
    GenerationTimer timer(std::to_string(book.size) + " contacts", book.size);
    std::vector<std::string> texts(4);  // the display name and the three addresses
    std::vector<SPropValue> values;
    for (std::int64_t k = 0; k < book.size; ++k) {
        texts[0] = ContactFirstName(k) + " " + ContactLastName(k);
        values = {TextValue(PR_MESSAGE_CLASS_A, "IPM.Contact"),
                  TextValue(PR_DISPLAY_NAME_A, texts[0])};
        for (int slot = 0; slot < 3; ++slot) {
            texts[1 + slot] = ContactAddress(k, slot);
            if (texts[1 + slot].empty()) continue;
            values.push_back(TextValue(book.address_tags[2 * slot], texts[1 + slot]));
            values.push_back(TextValue(book.address_tags[2 * slot + 1], texts[1 + slot]));
        }
        SaveNewItem(book.contacts.Get(), values);
    }
}

}  // namespace

void Check(HRESULT hr, const char* what) {
    if (FAILED(hr)) {
        char text[160];
        std::snprintf(text, sizeof text, "%s failed (0x%08X)", what, static_cast<unsigned>(hr));
        throw std::runtime_error(text);
    }
}

SPropValue LongValue(ULONG tag, LONG value) {
    SPropValue v = {};
    v.ulPropTag = tag;
    v.Value.l = value;
    return v;
}

SPropValue TextValue(ULONG tag, const std::string& text) {
    SPropValue v = {};
    v.ulPropTag = tag;
    v.Value.lpszA = const_cast<char*>(text.c_str());
    return v;
}

ULONG PublicStringTag(IMAPIProp* object, const wchar_t* name, ULONG type) {
    std::wstring text = name;
    MAPINAMEID id = {const_cast<LPGUID>(&PS_PUBLIC_STRINGS), MNID_STRING, {}};
    id.Kind.lpwstrName = text.data();
    return NamedTag(object, id, type);
}

Mailbox& MailboxOf(std::int64_t size) {
    return Cached(Env().mailboxes, size, [](Mailbox& box) {
        LogOnToNewProfile("Mail" + std::to_string(box.size), box.session, box.store);
        box.inbox = OpenInbox(box.store.Get());
        box.thread_tag = PublicStringTag(box.inbox.Get(), L"OV-ThreadID", PT_LONG);
        FillMailbox(box);
        PrepareThreadIndex(box);
    });
}

std::string ContactAddress(std::int64_t k, int slot) {
    const std::string first = ContactFirstName(k);
    const std::string last = ContactLastName(k);
    const std::string number = std::to_string(k);
    switch (slot) {
        case 0:
            return first + "." + last + "." + number + "@" + kDomains[k % std::size(kDomains)];
        case 1:
            return k % 2 ? std::string() : first.substr(0, 1) + last + number + "@home.example";
        case 2:
            return k % 4 ? std::string() : last + "." + number + "@club.example";
        default:
            return {};
    }
}

ContactBook& ContactsOf(std::int64_t size) {
    return Cached(Env().contact_books, size, [](ContactBook& book) {
        LogOnToNewProfile("Contacts" + std::to_string(book.size), book.session, book.store);
        ComPtr<IMAPIFolder> inbox = OpenInbox(book.store.Get());
        MapiBuffer<SPropValue> contacts_id;
        Check(HrGetOneProp(inbox.Get(), PR_IPM_CONTACT_ENTRYID, &contacts_id),
              "HrGetOneProp(PR_IPM_CONTACT_ENTRYID)");
        book.contacts = OpenFolder(book.store.Get(), contacts_id->Value.bin.cb,
                                   reinterpret_cast<LPENTRYID>(contacts_id->Value.bin.lpb));
        // E-mail 1, 2 and 3: the address and its original display name.
        constexpr LONG kAddressIds[kContactAddressFields] = {0x8083, 0x8084, 0x8093,
                                                             0x8094, 0x80A3, 0x80A4};
        for (std::size_t i = 0; i < kContactAddressFields; ++i) {
            MAPINAMEID id = {const_cast<LPGUID>(&PSETID_Address), MNID_ID, {}};
            id.Kind.lID = kAddressIds[i];
            book.address_tags[i] = NamedTag(book.contacts.Get(), id, PT_STRING8);
        }
        FillContacts(book);
    });
}

void MailboxSizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(10000)->Arg(100000);
    const char* large = std::getenv("ORVELLA_BENCH_LARGE");
    if (large && std::string(large) == "1") benchmark->Arg(1000000);
}

}  // namespace orvella::bench
