// Which traffic lamps a face should light: those whose kind of traffic moved since the face
// last looked. A face asks a few times a second while it is shown, so that a busy server does
// no display work per request.
#pragma once

#include "core/status_model.h"

#include <array>
#include <cstdint>
#include <vector>

namespace cvl {

class LampChanges final {
public:
    [[nodiscard]] std::vector<Lamp> since(const StatusModel& status) {
        std::vector<Lamp> moved;
        for (std::size_t i = 0; i < seen_.size(); ++i) {
            const auto lamp = static_cast<Lamp>(i);
            if (status.lampCount(lamp) != seen_[i]) {
                seen_[i] = status.lampCount(lamp);
                moved.push_back(lamp);
            }
        }
        return moved;
    }

private:
    std::array<std::uint64_t, 4> seen_{};
};

} // namespace cvl
