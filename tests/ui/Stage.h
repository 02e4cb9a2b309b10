#pragma once

#include "platform/OverlaySurface.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace fenlo::test {

/// The desktop's half of the only overlay: what it shows, and a hand on the mouse.
struct Stage {
    bool isThere = false;
    double scale = 1;
    std::optional<OverlayFrame> frame;
    std::vector<OverlayRectangle> region;
    std::function<void()> onScale, onOutside;
    std::function<void(const OverlayPointer&)> onPointer;
    OverlayCursor cursor = OverlayCursor::arrow;
    double distanceFromTop = 0;

    bool takesMouseAt(int x, int y) const {
        return std::ranges::any_of(region, [&](const OverlayRectangle& r) {
            return x >= r.x && x < r.x + r.width && y >= r.y && y < r.y + r.height;
        });
    }
    /// In points.
    std::uint32_t pixel(double x, double y) const {
        const auto at = [&](double points) { return static_cast<std::size_t>(points * frame->scale); };
        return frame->pixels.at(at(y) * static_cast<std::size_t>(frame->columns) + at(x));
    }
    std::uint32_t opacity(double x, double y) const { return pixel(x, y) >> 24; }

    void point(OverlayPointer::Kind kind, double x, double y) const { onPointer({.kind = kind, .x = x, .y = y}); }
    void press(double x, double y) const { point(OverlayPointer::Kind::down, x, y); }
    void click(double x, double y) const {
        point(OverlayPointer::Kind::move, x, y);
        press(x, y);
        point(OverlayPointer::Kind::up, x, y);
    }
};

class StagedSurfaces final : public OverlaySurfaces {
public:
    explicit StagedSurfaces(Stage& stage) : m_stage(stage) {}
    std::unique_ptr<OverlaySurface> make(double distanceFromTop, std::function<void()> onScale) override {
        m_stage.distanceFromTop = distanceFromTop;
        m_stage.onScale = std::move(onScale);
        return std::make_unique<Surface>(m_stage);
    }
    std::shared_ptr<void> catchMouse(std::function<void()> onMouseDown) override {
        m_stage.onOutside = std::move(onMouseDown);
        return {&m_stage, [this](void*) { m_stage.onOutside = nullptr; }};
    }

private:
    class Surface final : public OverlaySurface {
    public:
        explicit Surface(Stage& stage) : m_stage(stage) { m_stage.isThere = true; }
        ~Surface() override { m_stage.isThere = false; }
        double scale() const override { return m_stage.scale; }
        void show(OverlayFrame frame) override { m_stage.frame = std::move(frame); }
        void acceptMouse(std::vector<OverlayRectangle> region,
                         std::function<void(const OverlayPointer&)> onPointer) override {
            m_stage.region = std::move(region);
            m_stage.onPointer = std::move(onPointer);
        }
        void setCursor(OverlayCursor cursor) override { m_stage.cursor = cursor; }

    private:
        Stage& m_stage;
    };
    Stage& m_stage;
};

} // namespace fenlo::test
