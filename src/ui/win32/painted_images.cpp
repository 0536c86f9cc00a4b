#include "ui/win32/painted_images.h"

#include "ui/picture_colours.h"

#include <windows.h>

// GDI+'s headers need PROPID from objidl.h, which WIN32_LEAN_AND_MEAN keeps out of windows.h.
#include <objidl.h>

#include <gdiplus.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace cvl {

namespace {

namespace gp = Gdiplus;
namespace gdip = Gdiplus::DllExports;

// GDI+ is started on the first picture and shut down when the program exits. The holder is a
// function-local static, so the start-up happens once even if two threads paint at the same time,
// and the shutdown runs from the executable's static destructors, never from a DLL's entry point.
// Icons already made are plain USER objects and outlive the shutdown.
class GdiplusSession {
public:
    GdiplusSession() {
        const gp::GdiplusStartupInput input;
        started_ = gp::GdiplusStartup(&token_, &input, nullptr) == gp::Ok;
    }
    ~GdiplusSession() {
        if (started_) {
            gp::GdiplusShutdown(token_);
        }
    }
    GdiplusSession(const GdiplusSession&) = delete;
    GdiplusSession& operator=(const GdiplusSession&) = delete;

    [[nodiscard]] bool started() const { return started_; }

private:
    ULONG_PTR token_ = 0;
    bool started_ = false;
};

bool gdiplusStarted() {
    static const GdiplusSession session;
    return session.started();
}

struct GdiplusRelease {
    void operator()(gp::GpGraphics* graphics) const { gdip::GdipDeleteGraphics(graphics); }
    void operator()(gp::GpBitmap* bitmap) const { gdip::GdipDisposeImage(bitmap); }
    void operator()(gp::GpPen* pen) const { gdip::GdipDeletePen(pen); }
    void operator()(gp::GpSolidFill* brush) const { gdip::GdipDeleteBrush(brush); }
    void operator()(gp::GpPath* path) const { gdip::GdipDeletePath(path); }
};
template <typename Object> using Owned = std::unique_ptr<Object, GdiplusRelease>;

constexpr gp::ARGB colour(std::uint32_t red, std::uint32_t green, std::uint32_t blue,
                          std::uint32_t alpha = 255) {
    return static_cast<gp::ARGB>(alpha << 24 | red << 16 | green << 8 | blue);
}

constexpr gp::ARGB argb(Rgb rgb) {
    return colour(rgb.red, rgb.green, rgb.blue);
}

constexpr gp::ARGB kWhite = colour(0xFF, 0xFF, 0xFF);
constexpr gp::ARGB kBlack = colour(0x00, 0x00, 0x00);

struct Box {
    gp::REAL x = 0;
    gp::REAL y = 0;
    gp::REAL width = 0;
    gp::REAL height = 0;

    [[nodiscard]] gp::REAL right() const { return x + width; }
    [[nodiscard]] gp::REAL bottom() const { return y + height; }
    [[nodiscard]] gp::REAL centreX() const { return x + width / 2; }
    [[nodiscard]] gp::REAL centreY() const { return y + height / 2; }
    [[nodiscard]] Box adjusted(gp::REAL left, gp::REAL top, gp::REAL rightEdge,
                               gp::REAL bottomEdge) const {
        return {x + left, y + top, width - left + rightEdge, height - top + bottomEdge};
    }
};

// Square 32-bit pixels, 0xAARRGGBB with straight (not premultiplied) alpha: the layout of a
// top-down DIB and of GDI+'s PixelFormat32bppARGB alike, and what an icon's colour bitmap holds.
// A canvas is painted at kOversampling times its side and reduced afterwards, so the edges come
// out smooth even where GDI+ ignores its smoothing mode (Wine's does) and stay smooth at 16
// pixels.
constexpr int kOversampling = 4;

class Pixels {
public:
    Pixels(int side, int scale)
        : side_(side * scale)
        , scale_(scale)
        , values_(static_cast<std::size_t>(side_) * static_cast<std::size_t>(side_), 0) {}

    // In device pixels.
    [[nodiscard]] int side() const { return side_; }
    // Device pixels to a picture pixel.
    [[nodiscard]] int scale() const { return scale_; }
    [[nodiscard]] int pictureSide() const { return side_ / scale_; }
    [[nodiscard]] std::uint32_t* data() { return values_.data(); }
    [[nodiscard]] const std::vector<std::uint32_t>& values() const { return values_; }
    [[nodiscard]] std::vector<std::uint32_t>& values() { return values_; }

    // The picture at one device pixel a picture pixel: each pixel averages its block, weighted by
    // alpha so a colour at the edge is not darkened by the transparent black beside it.
    [[nodiscard]] Pixels reduced() const {
        const int side = pictureSide();
        Pixels result(side, 1);
        const auto block = static_cast<std::uint32_t>(scale_ * scale_);
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                std::uint32_t alpha = 0;
                std::uint32_t red = 0;
                std::uint32_t green = 0;
                std::uint32_t blue = 0;
                for (int dy = 0; dy < scale_; ++dy) {
                    for (int dx = 0; dx < scale_; ++dx) {
                        const std::uint32_t value = at(x * scale_ + dx, y * scale_ + dy);
                        const std::uint32_t weight = value >> 24;
                        alpha += weight;
                        red += (value >> 16 & 0xFFU) * weight;
                        green += (value >> 8 & 0xFFU) * weight;
                        blue += (value & 0xFFU) * weight;
                    }
                }
                if (alpha == 0) {
                    continue;
                }
                const std::uint32_t average = (alpha + block / 2) / block;
                result.values_[static_cast<std::size_t>(y) * static_cast<std::size_t>(side) +
                               static_cast<std::size_t>(x)] =
                    average << 24 | (red + alpha / 2) / alpha << 16 |
                    (green + alpha / 2) / alpha << 8 | (blue + alpha / 2) / alpha;
            }
        }
        return result;
    }

private:
    [[nodiscard]] std::uint32_t at(int x, int y) const {
        return values_[static_cast<std::size_t>(y) * static_cast<std::size_t>(side_) +
                       static_cast<std::size_t>(x)];
    }

    int side_;
    int scale_;
    std::vector<std::uint32_t> values_;
};

// Antialiased GDI+ drawing straight into a Pixels, in picture pixels whatever the oversampling.
// Half-pixel offset puts a pixel's edges, not its centre, on whole coordinates, so the Linux
// desktop's proportions land on the same pixels.
class Painter {
public:
    explicit Painter(Pixels& pixels) {
        gp::GpBitmap* bitmap = nullptr;
        if (gdip::GdipCreateBitmapFromScan0(
                pixels.side(), pixels.side(), pixels.side() * 4, PixelFormat32bppARGB,
                reinterpret_cast<BYTE*>(pixels.data()), &bitmap) != gp::Ok) {
            return;
        }
        bitmap_.reset(bitmap);
        gp::GpGraphics* graphics = nullptr;
        if (gdip::GdipGetImageGraphicsContext(bitmap, &graphics) != gp::Ok) {
            return;
        }
        graphics_.reset(graphics);
        gdip::GdipSetSmoothingMode(graphics, gp::SmoothingModeAntiAlias8x8);
        gdip::GdipSetPixelOffsetMode(graphics, gp::PixelOffsetModeHalf);
        gdip::GdipSetCompositingQuality(graphics, gp::CompositingQualityHighQuality);
        const auto scale = static_cast<gp::REAL>(pixels.scale());
        gdip::GdipScaleWorldTransform(graphics, scale, scale, gp::MatrixOrderPrepend);
    }
    // The pixels are written back when the graphics and the bitmap over them are released.
    ~Painter() {
        graphics_.reset();
        bitmap_.reset();
    }
    Painter(const Painter&) = delete;
    Painter& operator=(const Painter&) = delete;

    [[nodiscard]] bool ready() const { return graphics_ != nullptr; }

    void fillRect(gp::ARGB fill, const Box& box) {
        if (const auto brush = solid(fill)) {
            gdip::GdipFillRectangle(graphics_.get(), brush.get(), box.x, box.y, box.width,
                                    box.height);
        }
    }

    // Filled, then outlined along the ellipse's edge as the Linux desktop does.
    void ellipse(gp::ARGB fill, gp::ARGB outline, gp::REAL outlineWidth, const Box& box) {
        if (const auto brush = solid(fill)) {
            gdip::GdipFillEllipse(graphics_.get(), brush.get(), box.x, box.y, box.width,
                                  box.height);
        }
        outlineEllipse(outline, outlineWidth, box);
    }

    void outlineEllipse(gp::ARGB outline, gp::REAL width, const Box& box) {
        if (const auto stroke = pen(outline, width, gp::LineCapFlat)) {
            gdip::GdipDrawEllipse(graphics_.get(), stroke.get(), box.x, box.y, box.width,
                                  box.height);
        }
    }

    void line(gp::ARGB stroke, gp::REAL width, gp::LineCap cap, gp::REAL fromX, gp::REAL fromY,
              gp::REAL toX, gp::REAL toY) {
        if (const auto drawn = pen(stroke, width, cap)) {
            gdip::GdipDrawLine(graphics_.get(), drawn.get(), fromX, fromY, toX, toY);
        }
    }

    void fillPath(gp::ARGB fill, gp::GpPath* path) {
        if (const auto brush = solid(fill)) {
            gdip::GdipFillPath(graphics_.get(), brush.get(), path);
        }
    }

    void outlinePath(gp::ARGB outline, gp::REAL width, gp::GpPath* path) {
        if (const auto stroke = pen(outline, width, gp::LineCapFlat)) {
            gdip::GdipDrawPath(graphics_.get(), stroke.get(), path);
        }
    }

private:
    static Owned<gp::GpSolidFill> solid(gp::ARGB fill) {
        gp::GpSolidFill* brush = nullptr;
        gdip::GdipCreateSolidFill(fill, &brush);
        return Owned<gp::GpSolidFill>(brush);
    }

    static Owned<gp::GpPen> pen(gp::ARGB stroke, gp::REAL width, gp::LineCap cap) {
        gp::GpPen* created = nullptr;
        if (gdip::GdipCreatePen1(stroke, width, gp::UnitWorld, &created) != gp::Ok) {
            return Owned<gp::GpPen>();
        }
        gdip::GdipSetPenLineCap197819(created, cap, cap, gp::DashCapFlat);
        return Owned<gp::GpPen>(created);
    }

    Owned<gp::GpBitmap> bitmap_;
    Owned<gp::GpGraphics> graphics_;
};

Owned<gp::GpPath> roundedRectangle(const Box& box, gp::REAL radius) {
    gp::GpPath* path = nullptr;
    if (gdip::GdipCreatePath(gp::FillModeAlternate, &path) != gp::Ok) {
        return Owned<gp::GpPath>();
    }
    const gp::REAL across = radius * 2;
    // The figure joins each corner's arc to the next with the straight side between them.
    gdip::GdipAddPathArc(path, box.x, box.y, across, across, 180, 90);
    gdip::GdipAddPathArc(path, box.right() - across, box.y, across, across, 270, 90);
    gdip::GdipAddPathArc(path, box.right() - across, box.bottom() - across, across, across, 0, 90);
    gdip::GdipAddPathArc(path, box.x, box.bottom() - across, across, across, 90, 90);
    gdip::GdipClosePathFigure(path);
    return Owned<gp::GpPath>(path);
}

void paintClock(Painter& painter, gp::REAL side, gp::ARGB face, gp::ARGB ring) {
    const gp::REAL inset = side * 0.06F;
    const Box dial{inset, inset, side - 2 * inset, side - 2 * inset};
    const gp::REAL strokeWidth = side * 0.08F;
    painter.ellipse(face, ring, strokeWidth, dial);
    const gp::REAL centreX = dial.centreX();
    const gp::REAL centreY = dial.centreY();
    const gp::REAL radius = dial.width / 2;
    painter.line(ring, strokeWidth, gp::LineCapRound, centreX, centreY, centreX,
                 centreY - radius * 0.62F);
    painter.line(ring, strokeWidth, gp::LineCapRound, centreX, centreY, centreX + radius * 0.45F,
                 centreY + radius * 0.12F);
}

// A red dot ringed in white in the bottom-right corner, large enough to read at 16 pixels on any
// taskbar.
void paintWaitingMark(Painter& painter, gp::REAL side) {
    const gp::REAL dotSide = side * 0.5F;
    const Box dot{side - dotSide, side - dotSide, dotSide, dotSide};
    painter.ellipse(argb(colours::kUnsynchronisedMark), kWhite, std::max(1.0F, side * 0.06F),
                    dot.adjusted(0.5F, 0.5F, -0.5F, -0.5F));
}

// The field is painted a pixel past its edges and then cut to the rounded rectangle by the
// rectangle's own antialiased coverage: GDI+ clips to whole device pixels, without antialiasing,
// and an edge both painted and clipped with antialiasing would fade twice.
void paintFlag(Pixels& pixels, const FlagLook& flag, bool world) {
    const auto side = static_cast<gp::REAL>(pixels.pictureSide());
    const Box field{0, side * 0.18F, side, side * 0.64F};
    const gp::REAL cornerRadius = side * 0.08F;
    const auto outline = roundedRectangle(field, cornerRadius);
    if (!outline) {
        return;
    }
    {
        Painter painter(pixels);
        if (!painter.ready()) {
            return;
        }
        const auto count = static_cast<gp::REAL>(flag.bandCount);
        for (std::size_t i = 0; i < flag.bandCount; ++i) {
            const auto at = static_cast<gp::REAL>(i);
            // Each band overlaps the next by a pixel so no seam shows between them.
            Box band = flag.vertical ? Box{field.x + field.width * at / count, field.y - 1,
                                           field.width / count + 1, field.height + 2}
                                     : Box{field.x - 1, field.y + field.height * at / count,
                                           field.width + 2, field.height / count + 1};
            if (i == 0) {
                band = flag.vertical ? band.adjusted(-1, 0, 0, 0) : band.adjusted(0, -1, 0, 0);
            }
            painter.fillRect(argb(flag.bands[i]), band);
        }
        if (flag.hasCanton) {
            const gp::REAL cantonSide = field.height * 0.5F;
            painter.fillRect(
                argb(flag.canton),
                Box{field.x, field.y, cantonSide * 1.3F, cantonSide}.adjusted(-1, -1, 0, 0));
        }
        if (world) {
            const gp::REAL globeWidth = side * 0.05F;
            const gp::REAL radius = field.height * 0.36F;
            const gp::REAL centreX = field.centreX();
            const gp::REAL centreY = field.centreY();
            painter.outlineEllipse(kWhite, globeWidth,
                                   Box{centreX - radius, centreY - radius, radius * 2, radius * 2});
            painter.line(kWhite, globeWidth, gp::LineCapSquare, centreX - radius, centreY,
                         centreX + radius, centreY);
            painter.outlineEllipse(
                kWhite, globeWidth,
                Box{centreX - radius * 0.45F, centreY - radius, radius * 0.9F, radius * 2});
        }
    }
    Pixels coverage(pixels.pictureSide(), pixels.scale());
    {
        Painter painter(coverage);
        if (!painter.ready()) {
            return;
        }
        painter.fillPath(kBlack, outline.get());
    }
    for (std::size_t i = 0; i < pixels.values().size(); ++i) {
        const std::uint32_t value = pixels.values()[i];
        const std::uint32_t alpha = (value >> 24) * (coverage.values()[i] >> 24) / 255;
        pixels.values()[i] = alpha << 24 | (alpha == 0 ? 0 : value & 0x00FFFFFFU);
    }
    Painter painter(pixels);
    if (painter.ready()) {
        painter.outlinePath(colour(0, 0, 0, 90), 1, outline.get());
    }
}

// Rows of a monochrome bitmap are padded to 16 bits.
std::size_t maskStride(int side) {
    return static_cast<std::size_t>((side + 15) / 16) * 2;
}

// The icon's colour is a 32-bpp top-down DIB holding the straight alpha, which Windows blends with.
// The mask marks as transparent what is less than half covered, for anything that still draws
// icons through the mask alone.
HICON iconFrom(const Pixels& pixels) {
    const int side = pixels.side();
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = side;
    info.bmiHeader.biHeight = -side; // top-down
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    const HBITMAP colourBitmap =
        CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (colourBitmap == nullptr || bits == nullptr) {
        if (colourBitmap != nullptr) {
            DeleteObject(colourBitmap);
        }
        return nullptr;
    }
    std::copy(pixels.values().begin(), pixels.values().end(), static_cast<std::uint32_t*>(bits));

    const std::size_t stride = maskStride(side);
    std::vector<BYTE> maskBits(stride * static_cast<std::size_t>(side), 0);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(side) +
                                   static_cast<std::size_t>(x);
            if ((pixels.values()[at] >> 24) < 128) {
                maskBits[static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x / 8)] |=
                    static_cast<BYTE>(0x80U >> (x % 8));
            }
        }
    }
    const HBITMAP maskBitmap = CreateBitmap(side, side, 1, 1, maskBits.data());
    if (maskBitmap == nullptr) {
        DeleteObject(colourBitmap);
        return nullptr;
    }

    ICONINFO icon{};
    icon.fIcon = TRUE;
    icon.hbmMask = maskBitmap;
    icon.hbmColor = colourBitmap;
    const HICON made = CreateIconIndirect(&icon); // copies both bitmaps
    DeleteObject(maskBitmap);
    DeleteObject(colourBitmap);
    return made;
}

int clampedSide(int pixels) {
    return std::clamp(pixels, 1, 256);
}

template <typename Paint> HICON paintedIcon(int pixels, Paint&& paint) {
    if (!gdiplusStarted()) {
        return nullptr;
    }
    Pixels canvas(clampedSide(pixels), kOversampling);
    paint(canvas);
    return iconFrom(canvas.reduced());
}

template <typename Paint> HICON paintedWithPainter(int pixels, Paint&& paint) {
    return paintedIcon(pixels, [&paint](Pixels& canvas) {
        Painter painter(canvas);
        if (painter.ready()) {
            paint(painter, static_cast<gp::REAL>(canvas.pictureSide()));
        }
    });
}

} // namespace

HICON applicationIcon(int pixels) {
    return paintedWithPainter(pixels, [](Painter& painter, gp::REAL side) {
        paintClock(painter, side, argb(colours::kClockFace), argb(colours::kClockRing));
    });
}

HICON trayIcon(bool synced, int pixels) {
    if (synced) {
        return applicationIcon(pixels);
    }
    return paintedWithPainter(pixels, [](Painter& painter, gp::REAL side) {
        paintClock(painter, side, argb(colours::kClockFace), argb(colours::kClockRing));
        paintWaitingMark(painter, side);
    });
}

HICON activityIcon(bool busy, int pixels) {
    return paintedWithPainter(pixels, [busy](Painter& painter, gp::REAL side) {
        if (busy) {
            paintClock(painter, side, argb(colours::kBusyFace), argb(colours::kBusyRing));
        } else {
            paintClock(painter, side, argb(colours::kIdleFace), argb(colours::kIdleRing));
        }
    });
}

HICON flagIcon(int index, int pixels) {
    const FlagLook& flag = flagLook(index);
    return paintedIcon(pixels, [&flag](Pixels& canvas) {
        paintFlag(canvas, flag, &flag == &kFlagLooks[kWorldFlag]);
    });
}

} // namespace cvl
