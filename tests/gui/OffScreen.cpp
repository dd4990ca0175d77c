#include "tests/gui/OffScreen.h"

#include <dlfcn.h>
#include <unistd.h>
#include <vstgui/lib/coffscreencontext.h>
#include <vstgui/lib/platform/iplatformbitmap.h>
#include <vstgui/lib/vstguiinit.h>

#include <cstdlib>

#ifdef __SANITIZE_ADDRESS__
// Fontconfig keeps a little of its configuration for good.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:libfontconfig";
}
#endif

namespace Quorvant::Testing {

Picture pictureOf(VSTGUI::IPlatformBitmap& bitmap) {
    const auto access = bitmap.lockPixels(true);
    Picture picture;
    picture.width = static_cast<int>(bitmap.getSize().x);
    picture.height = static_cast<int>(bitmap.getSize().y);
    for (int y = 0; y < picture.height; ++y) {
        const auto* row =
            reinterpret_cast<const uint32_t*>(access->getAddress() + y * access->getBytesPerRow());
        picture.pixels.insert(picture.pixels.end(), row, row + picture.width);
    }
    return picture;
}

std::size_t differentPixels(const Picture& a, const Picture& b, int more) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i) {
        int most = 0;
        for (const int shift : {0, 8, 16}) {
            const int x = static_cast<int>(a.pixels[i] >> shift & 0xff);
            const int y = static_cast<int>(b.pixels[i] >> shift & 0xff);
            most = std::max(most, std::abs(x - y));
        }
        if (most > more) ++count;
    }
    return count;
}

OffScreen::OffScreen(FakeModel& fake, int zoom) : model(fake) {
    [[maybe_unused]] static const bool started = [] {
        const auto folder =
            std::filesystem::temp_directory_path() / ("corvane-gui-" + std::to_string(getpid()));
        std::filesystem::create_directories(folder);
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
        VSTGUI::init(dlopen(nullptr, RTLD_LAZY));
        return true;
    }();
    if (zoom > 0) model.storedZoom = zoom;
    editor = std::make_unique<Editor>(model, &desk);
    frame = new VSTGUI::CFrame(VSTGUI::CRect(0, 0, editor->width(), editor->height()), nullptr);
    frame->attached(frame);
    editor->open(*frame);
    model.editor = editor.get();
}

OffScreen::~OffScreen() {
    model.editor = nullptr;
    editor.reset();
    frame->removed(frame);
    frame->forget();
}

VSTGUI::SharedPointer<VSTGUI::CBitmap> OffScreen::bitmap() {
    const CPoint size(editor->width(), editor->height());
    const auto context = VSTGUI::COffscreenContext::create(size, 1.0);
    context->beginDraw();
    frame->drawRect(context, VSTGUI::CRect(0, 0, size.x, size.y));
    context->endDraw();
    return VSTGUI::shared(context->getBitmap());
}

void OffScreen::dispatch(VSTGUI::MousePositionEvent&& event, CPoint at,
                         VSTGUI::Modifiers modifiers) {
    const double scale = editor->width() / Theme::kWidth;
    event.mousePosition = CPoint(at.x * scale, at.y * scale);
    event.modifiers = modifiers;
    frame->dispatchEvent(event);
}

void OffScreen::down(CPoint at, VSTGUI::Modifiers modifiers, VSTGUI::MouseButton button) {
    dispatch(VSTGUI::MouseDownEvent({}, button), at, modifiers);
}

void OffScreen::move(CPoint to, VSTGUI::Modifiers modifiers, bool held) {
    const auto button = held ? VSTGUI::MouseButton::Left : VSTGUI::MouseButton::None;
    dispatch(VSTGUI::MouseMoveEvent({}, button), to, modifiers);
}

void OffScreen::up(CPoint at) {
    dispatch(VSTGUI::MouseUpEvent({}, VSTGUI::MouseButton::Left), at, {});
}

void OffScreen::wheel(CPoint at, double steps, VSTGUI::Modifiers modifiers) {
    VSTGUI::MouseWheelEvent event;
    event.deltaY = steps;
    dispatch(std::move(event), at, modifiers);
}

bool OffScreen::key(VSTGUI::VirtualKey virtualKey) {
    VSTGUI::KeyboardEvent event;
    event.type = VSTGUI::EventType::KeyDown;
    event.virt = virtualKey;
    frame->dispatchEvent(event);
    return event.consumed;
}

VSTGUI::CControl* OffScreen::control(uint32_t tag) {
    return find<VSTGUI::CControl>(
        [tag](const auto& candidate) { return candidate.getTag() == static_cast<int32_t>(tag); });
}

}  // namespace Quorvant::Testing
