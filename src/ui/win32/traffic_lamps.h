// The traffic lamps of the status strip: data in, data out, TCP and UDP. Each lights when its
// kind of traffic passes and dims a moment later.
#pragma once

#include "services/lamp.h"
#include "ui/win32/native_window.h"

#include <array>
#include <cstdint>

namespace cvl {

class TrafficLamps final : public NativeWindow {
public:
    explicit TrafficLamps(HWND parent);
    void light(Lamp lamp);
    [[nodiscard]] bool isLit(Lamp lamp) const;
    // The width they need in the font they were given.
    [[nodiscard]] int width(const DpiScale& scale) const;

private:
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void layout();
    void paintDots(HDC dc);

    static constexpr std::uint64_t kGlowMs = 250;
    std::array<std::uint64_t, 4> litAt_{};
    std::array<HWND, 4> labels_{};
    std::array<int, 4> dots_{};
};

} // namespace cvl
