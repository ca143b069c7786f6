// The owner's contacts: some of the people they correspond with, each with a priority level
// and a folder.
#pragma once

#include <vector>

#include "mailbox_generator.h"
#include "people.h"
#include "random_stream.h"

namespace orvella::host::generator {

// About 7% of the people active in the mail (at least 8, at most 3,000), mostly the most
// active ones. Every level from -2 to 2 is present, Normal the most common and the higher
// levels going to the more active people; most contacts are in the Contacts folder, partners
// and family often in sub-folders. At least one contact has more than one address: when none
// has, the most active one gets a second (which is why `cast` may change).
std::vector<GeneratedContact> ChooseContacts(Cast& cast, const std::vector<std::uint32_t>& activity,
                                             Random& random);

}  // namespace orvella::host::generator
