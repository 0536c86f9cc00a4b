// Starting with Windows: the value "Chronvale Server" under the local machine's Run key.
#pragma once

#include "platform/autostart.h"
#include "platform/settings_store.h"

namespace cvl {

class RunKeyAutostart final : public Autostart {
public:
    RunKeyAutostart() = default;

    [[nodiscard]] bool exists() const override;
    bool write(const std::string& command) override;
    bool remove() override;
};

} // namespace cvl
