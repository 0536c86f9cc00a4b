// A painted button's property store in memory, for the tests of either toolkit's button.
#pragma once

#include "ui/button/button_properties.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace cvl::test {

struct MemoryButtonStore : ButtonPropertyStore {
    std::map<std::string, std::string, std::less<>> values;
    [[nodiscard]] std::optional<std::string> read(std::string_view name) const override {
        const auto found = values.find(name);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
    void write(std::string_view name, const std::string& value) override {
        values[std::string(name)] = value;
    }
};

} // namespace cvl::test
