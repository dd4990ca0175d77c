#include "tests/gui/OffScreen.h"

#include <dlfcn.h>
#include <unistd.h>
#include <vstgui/lib/cbitmap.h>
#include <vstgui/lib/coffscreencontext.h>
#include <vstgui/lib/platform/iplatformbitmap.h>
#include <vstgui/lib/platform/platformfactory.h>
#include <vstgui/lib/vstguiinit.h>

#include <cstdlib>

#ifdef __SANITIZE_ADDRESS__
// Fontconfig keeps a little of its configuration for good.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:libfontconfig";
}
#endif

namespace Quorvant::Testing {

using VSTGUI::CPoint;

void startVstgui() {
    static const bool started = [] {
        const auto folder =
            std::filesystem::temp_directory_path() / ("corvane-gui-" + std::to_string(getpid()));
        std::filesystem::create_directories(folder);
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
        VSTGUI::init(dlopen(nullptr, RTLD_LAZY));
        return true;
    }();
    static_cast<void>(started);
}

OffScreen::OffScreen(FakeModel& fake, int zoom) : model(fake) {
    startVstgui();
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

VSTGUI::SharedPointer<VSTGUI::CBitmap> OffScreen::render() {
    const CPoint size(editor->width(), editor->height());
    const auto context = VSTGUI::COffscreenContext::create(size, 1.0);
    context->beginDraw();
    frame->drawRect(context, VSTGUI::CRect(0, 0, size.x, size.y));
    context->endDraw();
    return VSTGUI::shared(context->getBitmap());
}

Picture OffScreen::draw() {
    const auto bitmap = render();
    const auto access = bitmap->getPlatformBitmap()->lockPixels(true);
    Picture picture;
    picture.width = editor->width();
    picture.height = editor->height();
    for (int y = 0; y < picture.height; ++y) {
        const auto* row =
            reinterpret_cast<const uint32_t*>(access->getAddress() + y * access->getBytesPerRow());
        picture.pixels.insert(picture.pixels.end(), row, row + picture.width);
    }
    return picture;
}

std::vector<uint8_t> OffScreen::drawPng() {
    const auto bitmap = render();
    return VSTGUI::getPlatformFactory().createBitmapMemoryPNGRepresentation(
        bitmap->getPlatformBitmap());
}

CPoint OffScreen::pixels(CPoint at) const {
    const double scale = editor->width() / Theme::kWidth;
    return {at.x * scale, at.y * scale};
}

void OffScreen::down(CPoint at, VSTGUI::Modifiers modifiers, VSTGUI::MouseButton button) {
    VSTGUI::MouseDownEvent event(pixels(at), button);
    event.modifiers = modifiers;
    frame->dispatchEvent(event);
}

void OffScreen::move(CPoint to, VSTGUI::Modifiers modifiers, bool held) {
    VSTGUI::MouseMoveEvent event(pixels(to),
                                 held ? VSTGUI::MouseButton::Left : VSTGUI::MouseButton::None);
    event.modifiers = modifiers;
    frame->dispatchEvent(event);
}

void OffScreen::up(CPoint at) {
    VSTGUI::MouseUpEvent event(pixels(at), VSTGUI::MouseButton::Left);
    frame->dispatchEvent(event);
}

void OffScreen::click(CPoint at, VSTGUI::Modifiers modifiers) {
    down(at, modifiers);
    up(at);
}

void OffScreen::doubleClick(CPoint at, VSTGUI::Modifiers modifiers) {
    click(at, modifiers);
    click(at, modifiers);
}

void OffScreen::rightClick(CPoint at) {
    down(at, {}, VSTGUI::MouseButton::Right);
}

void OffScreen::wheel(CPoint at, double steps, VSTGUI::Modifiers modifiers) {
    VSTGUI::MouseWheelEvent event;
    event.mousePosition = pixels(at);
    event.modifiers = modifiers;
    event.deltaY = steps;
    frame->dispatchEvent(event);
}

bool OffScreen::key(VSTGUI::VirtualKey virtualKey) {
    VSTGUI::KeyboardEvent event;
    event.type = VSTGUI::EventType::KeyDown;
    event.virt = virtualKey;
    frame->dispatchEvent(event);
    return event.consumed;
}

CPoint OffScreen::middleOf(const VSTGUI::CView& view) const {
    return editorRect(view).getCenter();
}

CPoint OffScreen::middleOf(int32_t tag) {
    const auto* control = find<VSTGUI::CControl>(
        [tag](const VSTGUI::CControl& candidate) { return candidate.getTag() == tag; });
    return control ? middleOf(*control) : CPoint(-1.0, -1.0);
}

}  // namespace Quorvant::Testing
