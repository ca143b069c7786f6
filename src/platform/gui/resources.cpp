// The process's dialog resources, registered by id.
#include <map>
#include <mutex>

#include "dialog_template.h"

namespace orvella::platform::gui {
namespace {

struct Resources {
    std::mutex mutex;
    std::map<WORD, std::shared_ptr<const DialogTemplate>> templates;
};

Resources& TheResources() {
    static Resources resources;
    return resources;
}

}  // namespace

void RegisterDialogResource(WORD id, DialogTemplate dialogTemplate) {
    auto shared = std::make_shared<const DialogTemplate>(std::move(dialogTemplate));
    Resources& resources = TheResources();
    std::lock_guard lock(resources.mutex);
    resources.templates[id] = std::move(shared);
}

bool UnregisterDialogResource(WORD id) {
    Resources& resources = TheResources();
    std::lock_guard lock(resources.mutex);
    return resources.templates.erase(id) > 0;
}

std::shared_ptr<const DialogTemplate> FindDialogResource(WORD id) {
    Resources& resources = TheResources();
    std::lock_guard lock(resources.mutex);
    auto found = resources.templates.find(id);
    return found == resources.templates.end() ? nullptr : found->second;
}

}  // namespace orvella::platform::gui
