#include "platform/settings_store.h"

namespace cvl {

// Defined here so that the interface's vtable lives in one object file.
SettingsStore::~SettingsStore() = default;

} // namespace cvl
