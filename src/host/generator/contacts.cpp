// Choosing contacts among the correspondents and giving them priorities and folders.
#include "contacts.h"

#include <algorithm>
#include <numeric>

namespace orvella::host::generator {
namespace {

constexpr std::size_t kFewest = 8;
constexpr std::size_t kMost = 3000;

// The levels for `count` contacts, highest first: each level at least once, Normal the rest.
std::vector<int> Levels(std::size_t count) {
    const std::size_t very_high = std::max<std::size_t>(1, count * 6 / 100);
    const std::size_t high = std::max<std::size_t>(1, count * 14 / 100);
    const std::size_t low = std::max<std::size_t>(1, count * 10 / 100);
    const std::size_t junk = std::max<std::size_t>(1, count * 6 / 100);
    std::vector<int> levels;
    levels.insert(levels.end(), very_high, 2);
    levels.insert(levels.end(), high, 1);
    const std::size_t others = very_high + high + low + junk;
    levels.insert(levels.end(), count > others ? count - others : 0, 0);
    levels.insert(levels.end(), low, -1);
    levels.insert(levels.end(), junk, -2);
    levels.resize(count);  // only a cast of a handful of people runs short
    return levels;
}

std::string FolderFor(Group group, Random& random) {
    if (group == Group::Partner && random.Chance(650)) return "Partners";
    if (group == Group::Friend && random.Chance(350)) return "Family";
    return "";
}

}  // namespace

std::vector<GeneratedContact> ChooseContacts(Cast& cast, const std::vector<std::uint32_t>& activity,
                                             Random& random) {
    std::vector<std::uint32_t> active;
    for (std::uint32_t person = 0; person < activity.size(); ++person) {
        if (activity[person] > 0) active.push_back(person);
    }
    std::stable_sort(active.begin(), active.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return activity[a] > activity[b]; });
    const std::size_t count =
        std::min(active.size(), std::clamp<std::size_t>(active.size() * 7 / 100, kFewest, kMost));
    // Seven in ten from the most active, the rest from anywhere further down.
    const std::size_t top = count * 7 / 10;
    std::vector<std::uint32_t> chosen(active.begin(), active.begin() + static_cast<long>(top));
    std::vector<std::uint32_t> rest(active.begin() + static_cast<long>(top), active.end());
    random.Shuffle(rest);
    chosen.insert(chosen.end(), rest.begin(), rest.begin() + static_cast<long>(count - top));
    std::stable_sort(chosen.begin(), chosen.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return activity[a] > activity[b]; });

    std::vector<int> levels = Levels(count);
    // Mostly by activity, but not strictly: swap some neighbours.
    for (std::size_t i = 0; i + 1 < levels.size(); i += 2) {
        if (random.Chance(300)) std::swap(levels[i], levels[i + 1]);
    }
    const bool any_shared = std::any_of(chosen.begin(), chosen.end(), [&](std::uint32_t person) {
        return cast.people[person].addresses.size() > 1;
    });
    if (!any_shared && !chosen.empty()) cast.AddAddress(chosen.front());

    std::vector<GeneratedContact> contacts;
    contacts.reserve(count);
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        const Person& person = cast.people[chosen[i]];
        contacts.push_back(
            {person.name, person.addresses, levels[i], FolderFor(person.group, random)});
    }
    const bool any_filed = std::any_of(contacts.begin(), contacts.end(),
                                       [](const GeneratedContact& c) { return !c.folder.empty(); });
    if (!any_filed && !contacts.empty()) {
        const bool friend_ = cast.people[chosen.back()].group == Group::Friend;
        contacts.back().folder = friend_ ? "Family" : "Partners";
    }
    return contacts;
}

}  // namespace orvella::host::generator
