// The vocabularies of the generated mailbox; invented names and reserved .example domains only.
#include "word_lists.h"

namespace orvella::host::generator {
namespace {

constexpr NamePart kFirstNames[] = {
    {"Aaron", "aaron"},       {"Abigail", "abigail"},
    {"Adrian", "adrian"},     {"Aisha", "aisha"},
    {"Alan", "alan"},         {"Alice", "alice"},
    {"Amir", "amir"},         {"Ana", "ana"},
    {"Andrea", "andrea"},     {"Angela", "angela"},
    {"Ben", "ben"},           {"Bianca", "bianca"},
    {"Brian", "brian"},       {"Carla", "carla"},
    {"Carlos", "carlos"},     {"Catherine", "catherine"},
    {"Chen", "chen"},         {"Chloe", "chloe"},
    {"Chris", "chris"},       {"Claire", "claire"},
    {"Daniel", "daniel"},     {"David", "david"},
    {"Diego", "diego"},       {"Elena", "elena"},
    {"Emily", "emily"},       {"Emma", "emma"},
    {"Eric", "eric"},         {"Fatima", "fatima"},
    {"Felix", "felix"},       {"Fiona", "fiona"},
    {"Frank", "frank"},       {"Gabriel", "gabriel"},
    {"Grace", "grace"},       {"Hannah", "hannah"},
    {"Hiro", "hiro"},         {"Ian", "ian"},
    {"Irene", "irene"},       {"Isaac", "isaac"},
    {"Ivan", "ivan"},         {"Jack", "jack"},
    {"James", "james"},       {"Jana", "jana"},
    {"Jason", "jason"},       {"Jenny", "jenny"},
    {"John", "john"},         {"Julia", "julia"},
    {"Karen", "karen"},       {"Kevin", "kevin"},
    {"Laura", "laura"},       {"Leo", "leo"},
    {"Linda", "linda"},       {"Lucas", "lucas"},
    {"Maria", "maria"},       {"Mark", "mark"},
    {"Martin", "martin"},     {"Maya", "maya"},
    {"Mei", "mei"},           {"Michael", "michael"},
    {"Nadia", "nadia"},       {"Nathan", "nathan"},
    {"Nina", "nina"},         {"Noah", "noah"},
    {"Olivia", "olivia"},     {"Omar", "omar"},
    {"Paul", "paul"},         {"Peter", "peter"},
    {"Priya", "priya"},       {"Rachel", "rachel"},
    {"Rahul", "rahul"},       {"Robert", "robert"},
    {"Rosa", "rosa"},         {"Ryan", "ryan"},
    {"Samuel", "samuel"},     {"Sara", "sara"},
    {"Sean", "sean"},         {"Sofia", "sofia"},
    {"Steven", "steven"},     {"Susan", "susan"},
    {"Thomas", "thomas"},     {"Tina", "tina"},
    {"Victor", "victor"},     {"Wei", "wei"},
    {"William", "william"},   {"Yuki", "yuki"},
    {"Zoe", "zoe"},           {"José", "jose"},
    {"Zoë", "zoe"},           {"Søren", "soren"},
    {"Łukasz", "lukasz"},     {"Renée", "renee"},
    {"François", "francois"}, {"Jürgen", "juergen"},
    {"Ingrid", "ingrid"},     {"Björn", "bjorn"},
    {"Noémie", "noemie"},     {"Raúl", "raul"},
};

constexpr NamePart kLastNames[] = {
    {"Adams", "adams"},       {"Ahmed", "ahmed"},         {"Allen", "allen"},
    {"Baker", "baker"},       {"Barnes", "barnes"},       {"Bennett", "bennett"},
    {"Brooks", "brooks"},     {"Brown", "brown"},         {"Campbell", "campbell"},
    {"Carter", "carter"},     {"Chang", "chang"},         {"Clark", "clark"},
    {"Collins", "collins"},   {"Cooper", "cooper"},       {"Cruz", "cruz"},
    {"Davis", "davis"},       {"Diaz", "diaz"},           {"Edwards", "edwards"},
    {"Evans", "evans"},       {"Fischer", "fischer"},     {"Fisher", "fisher"},
    {"Foster", "foster"},     {"Garcia", "garcia"},       {"Gray", "gray"},
    {"Green", "green"},       {"Gupta", "gupta"},         {"Hall", "hall"},
    {"Harris", "harris"},     {"Hayes", "hayes"},         {"Hughes", "hughes"},
    {"Ito", "ito"},           {"Jackson", "jackson"},     {"Jensen", "jensen"},
    {"Johnson", "johnson"},   {"Kelly", "kelly"},         {"Kim", "kim"},
    {"King", "king"},         {"Kowalski", "kowalski"},   {"Larsen", "larsen"},
    {"Lee", "lee"},           {"Lewis", "lewis"},         {"Li", "li"},
    {"Lopez", "lopez"},       {"Martin", "martin"},       {"Meyer", "meyer"},
    {"Miller", "miller"},     {"Mitchell", "mitchell"},   {"Moore", "moore"},
    {"Morgan", "morgan"},     {"Murphy", "murphy"},       {"Nakamura", "nakamura"},
    {"Nelson", "nelson"},     {"Nguyen", "nguyen"},       {"Novak", "novak"},
    {"O'Brien", "obrien"},    {"Okafor", "okafor"},       {"Olsen", "olsen"},
    {"Park", "park"},         {"Patel", "patel"},         {"Perez", "perez"},
    {"Peterson", "peterson"}, {"Phillips", "phillips"},   {"Price", "price"},
    {"Ramirez", "ramirez"},   {"Reed", "reed"},           {"Richards", "richards"},
    {"Rivera", "rivera"},     {"Roberts", "roberts"},     {"Rossi", "rossi"},
    {"Russell", "russell"},   {"Sanders", "sanders"},     {"Santos", "santos"},
    {"Schmidt", "schmidt"},   {"Scott", "scott"},         {"Shah", "shah"},
    {"Silva", "silva"},       {"Singh", "singh"},         {"Smith", "smith"},
    {"Stewart", "stewart"},   {"Sullivan", "sullivan"},   {"Tanaka", "tanaka"},
    {"Taylor", "taylor"},     {"Thompson", "thompson"},   {"Turner", "turner"},
    {"Walker", "walker"},     {"Wang", "wang"},           {"Ward", "ward"},
    {"Watson", "watson"},     {"White", "white"},         {"Williams", "williams"},
    {"Wilson", "wilson"},     {"Wong", "wong"},           {"Wright", "wright"},
    {"Young", "young"},       {"Zhang", "zhang"},         {"Müller", "mueller"},
    {"Álvarez", "alvarez"},   {"Ødegaard", "odegaard"},   {"Nuñez", "nunez"},
    {"Lefèvre", "lefevre"},   {"Wójcik", "wojcik"},       {"Sørensen", "sorensen"},
    {"Doğan", "dogan"},       {"Håkansson", "hakansson"}, {"Ibáñez", "ibanez"},
};

constexpr const char* kOwnerFirstNames[] = {"Dana",   "Morgan", "Priya", "Tom",   "Elena",
                                            "Marcus", "Helen",  "Jonah", "Leila", "Carmen",
                                            "Owen",   "Rita",   "Simon", "Tara",  "Victor"};
constexpr const char* kOwnerLastNames[] = {"Reyes", "Hale",   "Natarajan", "Becker", "Lindqvist",
                                           "Okoro", "Marsh",  "Feldman",   "Vance",  "Ortega",
                                           "Pryor", "Castel", "Whitaker",  "Moreau", "Kaplan"};

constexpr const char* kDomainWords[] = {
    "kestrel",   "halcyon",    "brightline", "tessera",  "meridian",    "bluefield",
    "quarry",    "lumen",      "ardent",     "solano",   "pinecrest",   "harbor",
    "cobalt",    "summit",     "verity",     "orchid",   "granite",     "maple",
    "larkspur",  "westbrook",  "ironwood",   "redfern",  "silverleaf",  "amberly",
    "northgate", "clearwater", "foxglove",   "tidewell", "stonebridge", "wrenfield"};
constexpr const char* kDomainKinds[] = {
    "systems",    "labs",      "group",   "logistics", "health",   "energy",
    "media",      "foods",     "design",  "capital",   "software", "consulting",
    "industries", "analytics", "freight", "studio",    "partners", "works"};
constexpr const char* kFreeMailDomains[] = {"mailbox.example", "postbox.example", "webpost.example",
                                            "inbox-mail.example", "quickpost.example"};
constexpr const char* kJobTitles[] = {
    "Project Manager",   "Account Executive",      "Senior Engineer",    "Operations Lead",
    "Finance Analyst",   "Director of Sales",      "Product Owner",      "Office Manager",
    "Legal Counsel",     "Procurement Specialist", "Support Engineer",   "Marketing Manager",
    "Head of Logistics", "Data Analyst",           "HR Business Partner"};

// Most subjects name what the thread is about, so that distinct conversations seldom share one:
// the add-in threads mail by subject, and in real mail few subjects recur more than a handful of
// times.
constexpr const char* kWorkSubjects[] = {
    "{project} {topic}",
    "{topic} review for {project}",
    "Question about {topic} ({project})",
    "{project} {topic} - next steps",
    "Draft {topic} for {project}",
    "Meeting notes: {project} {topic}",
    "Updated {topic} for {project}",
    "{project}: {topic}",
    "Can we talk about {topic} on {day}?",
    "Action items from {day}: {project} {topic}",
    "{project} status update: {topic}",
    "Invoice {number}",
    "PO {number} - {topic}",
    "Reminder: {project} {topic} due {day}",
    "Feedback on {topic} for {project}",
    "{project} kickoff: {topic}",
    "Call on {day} about {project}",
    "Quick question about {topic}",
    "FYI: {project} {topic}",
    "Approval needed: {topic} (ref {number})",
    "Ticket {number}: {topic}",
    "{project} {topic} sign-off",
};
constexpr const char* kPrivateSubjects[] = {
    "Dinner on {day}?",
    "Photos from the {project} weekend",
    "Happy birthday! ({day})",
    "Plans for {day}",
    "The cabin trip, booking {number}",
    "Book club: {project} and more",
    "Moving help on {day}",
    "Recipe you asked for ({day} dinner)",
    "Tickets, order {number}",
    "Running club schedule for {day}",
    "Kids' school fair on {day}",
    "Borrowing your garden tools on {day}",
    "Order {number} has shipped",
    "Your reservation {number}",
};
constexpr const char* kTopics[] = {
    "Q3 budget",         "vendor contract",   "the Lisbon trip",   "onboarding plan",
    "release 4.2",       "server migration",  "customer survey",   "pricing proposal",
    "hiring plan",       "board deck",        "training schedule", "warehouse audit",
    "security review",   "renewal terms",     "roadmap",           "SLA report",
    "shipping delays",   "trade show booth",  "data retention",    "office move",
    "travel policy",     "year-end forecast", "partner portal",    "support backlog",
    "capacity planning", "design mock-ups",   "quality metrics",   "expense reports"};
constexpr const char* kProjects[] = {"Atlas",      "Beacon", "Harbor", "Juniper", "Keystone",
                                     "Lighthouse", "Meadow", "Nimbus", "Orion",   "Sparrow"};
constexpr const char* kWeekdays[] = {"Monday", "Tuesday", "Wednesday", "Thursday", "Friday"};
constexpr const char* kListNames[] = {"dev-announce",    "ops-users",    "hiking-club",
                                      "sql-help",        "design-guild", "regional-sales",
                                      "parents-council", "photo-circle", "security-notices",
                                      "open-data",       "book-swap",    "cycling-team"};
constexpr const char* kListSubjects[] = {"Build {number} available",
                                         "Question on {topic}, {project} team",
                                         "Meetup on {day}: {topic}",
                                         "Weekly digest, issue {number}",
                                         "Proposal: {topic} for {project}",
                                         "Trail report from the {project} loop",
                                         "Help with {topic} on {project}?",
                                         "Minutes of {day}, meeting {number}",
                                         "New member introduction, no. {number}",
                                         "Outage notice for {day}: {topic}",
                                         "Call for volunteers: {topic}",
                                         "Slides from {day}: {topic}"};
constexpr const char* kNewsletterBrands[] = {
    "Harbor Outfitters",    "Lumen Weekly",      "The Cobalt Brief", "Summit Travel Deals",
    "Ironwood Tech Digest", "Clearwater Market", "Foxglove Books",   "Tidewell Fitness"};
constexpr const char* kNewsletterSubjects[] = {"This week: {topic}, issue {number}",
                                               "Your {day} update, no. {number}",
                                               "{number} new arrivals",
                                               "Last chance: 30% off {topic} until {day}",
                                               "Top stories, issue {number}: {topic}",
                                               "Members save on {topic} this {day}",
                                               "We've updated our terms (notice {number})",
                                               "Your summary, statement {number}",
                                               "Events near you on {day}: {topic}"};
constexpr const char* kForeignSubjects[] = {
    "Überprüfung des Angebots",
    "Réunion de lundi – ordre du jour",
    "Ideas para la presentación",
    "Møte om budsjettet",
    "Spotkanie w środę",
    "会議の議事録",
    "Предложение по проекту",
    "Προσφορά για το έργο",
    "🎉 Team celebration on Friday",
    "Café with the Zürich team",
};
constexpr const char* kLatin1Subjects[] = {
    "Réunion à Zürich",
    "Präsentation für nächste Woche",
    "Año nuevo en la oficina",
    "Søknad om ferie",
    "Café à 15h ?",
    "Résumé für die Stelle",
};
constexpr const char* kLongSubjectClauses[] = {
    "Follow-up on the points raised in yesterday's steering committee meeting",
    "including the revised timeline for the second phase of the rollout",
    "the open questions from the finance team about the capital expenditure request",
    "the draft statement of work that legal still needs to review",
    "the list of attendees for the customer workshop in the spring",
    "and the proposed changes to the escalation process for priority one incidents",
    "plus the budget figures that still have to be reconciled with the forecast",
    "as well as the staffing plan for the support desk over the holiday period",
    "and a reminder that comments are due before the end of the week",
};

constexpr const char* kWorkSentences[] = {
    "I went through the {topic} and have a few comments.",
    "Can you send me the latest version of the {topic} before {day}?",
    "The numbers look fine to me, but let's double-check the totals.",
    "I've attached my notes from the call with the {project} team.",
    "We agreed to revisit the {topic} once the {project} milestones are confirmed.",
    "Let me know if {day} afternoon works for a quick call.",
    "I spoke with finance and they are fine with the proposal.",
    "There is still an open question about who owns the {topic}.",
    "Could you loop in the right person from your side?",
    "I'll update the tracker and circulate it by end of day.",
    "We are about two weeks behind on {project}, mostly because of the {topic}.",
    "Thanks for pulling this together so quickly.",
    "The customer asked whether we can deliver before the end of the quarter.",
    "Please review the {topic} and sign off if you agree.",
    "I moved our meeting to {day} at 10:00; the room is booked.",
    "Nothing urgent, but it would be good to settle this before {day}.",
    "We should keep the scope of {project} as agreed and park the rest.",
    "I have asked the vendor for a revised quote on order {number}.",
    "Attached is the summary; the details are in the shared folder.",
    "Happy to discuss further if anything is unclear.",
};
constexpr const char* kPrivateSentences[] = {
    "It was great to see you last weekend!",
    "Are you free on {day} evening?",
    "I'll bring the salad if you do dessert.",
    "The kids loved the park, we should go again.",
    "Let me know what time suits you.",
    "I found the photos, sending a few of the best ones.",
    "Mum says hello and asks when you're visiting.",
    "We booked the cabin for the long weekend.",
    "Don't forget your hiking boots this time!",
    "Call me when you have a minute.",
};
constexpr const char* kListSentences[] = {
    "Has anyone else run into this with the {topic}?",
    "The next meetup is on {day}; details are on the wiki.",
    "Build {number} fixes the issue reported last week.",
    "I'd suggest we move the discussion about {topic} to the tracker.",
    "Thanks everyone who volunteered for {day}.",
    "Minutes and slides are linked from the group page.",
    "Please keep replies on the list so others can benefit.",
    "A reminder that the deadline for proposals is {day}.",
};
constexpr const char* kNewsletterSentences[] = {
    "Here is what's new this week in {topic}.",
    "Members get early access to our {day} event.",
    "Read the full story on our website.",
    "Our editors picked {number} highlights for you.",
    "Limited offer: free shipping on all orders this week.",
    "You are receiving this because you subscribed to our newsletter.",
};
constexpr const char* kReplyOpeners[] = {
    "Thanks, that helps.",
    "Sounds good to me.",
    "Agreed.",
    "Good point.",
    "Sorry for the slow reply.",
    "Thanks for the update.",
    "Works for me.",
    "Let me check and get back to you.",
    "Great, thank you!",
    "See my comments below.",
};
constexpr const char* kForeignSentences[] = {
    "Merci beaucoup pour votre retour, à bientôt.",
    "Vielen Dank für die schnelle Rückmeldung.",
    "¿Podemos hablar mañana por la mañana?",
    "Tusen takk for hjelpen i går.",
    "Dziękuję za szybką odpowiedź.",
    "よろしくお願いします。",
};

template <class T, std::size_t N>
constexpr std::span<const T> All(const T (&items)[N]) {
    return std::span<const T>(items, N);
}

}  // namespace

std::span<const NamePart> FirstNames() {
    return All(kFirstNames);
}
std::span<const NamePart> LastNames() {
    return All(kLastNames);
}
std::span<const char* const> OwnerFirstNames() {
    return All(kOwnerFirstNames);
}
std::span<const char* const> OwnerLastNames() {
    return All(kOwnerLastNames);
}
std::span<const char* const> DomainWords() {
    return All(kDomainWords);
}
std::span<const char* const> DomainKinds() {
    return All(kDomainKinds);
}
std::span<const char* const> FreeMailDomains() {
    return All(kFreeMailDomains);
}
std::span<const char* const> JobTitles() {
    return All(kJobTitles);
}
std::span<const char* const> WorkSubjects() {
    return All(kWorkSubjects);
}
std::span<const char* const> PrivateSubjects() {
    return All(kPrivateSubjects);
}
std::span<const char* const> Topics() {
    return All(kTopics);
}
std::span<const char* const> Projects() {
    return All(kProjects);
}
std::span<const char* const> Weekdays() {
    return All(kWeekdays);
}
std::span<const char* const> ListNames() {
    return All(kListNames);
}
std::span<const char* const> ListSubjects() {
    return All(kListSubjects);
}
std::span<const char* const> NewsletterBrands() {
    return All(kNewsletterBrands);
}
std::span<const char* const> NewsletterSubjects() {
    return All(kNewsletterSubjects);
}
std::span<const char* const> ForeignSubjects() {
    return All(kForeignSubjects);
}
std::span<const char* const> Latin1Subjects() {
    return All(kLatin1Subjects);
}
std::span<const char* const> LongSubjectClauses() {
    return All(kLongSubjectClauses);
}
std::span<const char* const> WorkSentences() {
    return All(kWorkSentences);
}
std::span<const char* const> PrivateSentences() {
    return All(kPrivateSentences);
}
std::span<const char* const> ListSentences() {
    return All(kListSentences);
}
std::span<const char* const> NewsletterSentences() {
    return All(kNewsletterSentences);
}
std::span<const char* const> ReplyOpeners() {
    return All(kReplyOpeners);
}
std::span<const char* const> ForeignSentences() {
    return All(kForeignSentences);
}

}  // namespace orvella::host::generator
