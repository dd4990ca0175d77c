#include "tests/gui/EditorTest.h"

#include <dlfcn.h>
#include <vstgui/lib/coffscreencontext.h>
#include <vstgui/lib/platform/iplatformbitmap.h>
#include <vstgui/lib/vstguiinit.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>

#ifdef __SANITIZE_ADDRESS__
// Fontconfig keeps a little of its configuration for good.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:libfontconfig";
}
#endif

namespace Quorvant::Testing {

Picture pictureOf(VSTGUI::IPlatformBitmap& bitmap) {
    const auto access = bitmap.lockPixels(true);
    const auto width = static_cast<int>(bitmap.getSize().x);
    const auto height = static_cast<int>(bitmap.getSize().y);
    Picture picture;
    for (int y = 0; y < height; ++y) {
        const auto* row =
            reinterpret_cast<const uint32_t*>(access->getAddress() + y * access->getBytesPerRow());
        picture.insert(picture.end(), row, row + width);
    }
    return picture;
}

EditorTest::EditorTest() {
    static std::once_flag started;
    std::call_once(started, [] { VSTGUI::init(dlopen(nullptr, RTLD_LAZY)); });
    setenv("XDG_CONFIG_HOME", settings.path.c_str(), 1);
    reopen();
}

void EditorTest::reopen() {
    close();
    editor = std::make_unique<Editor>(model, &desk);
    frame = new VSTGUI::CFrame(CRect(0, 0, editor->width(), editor->height()), nullptr);
    frame->attached(frame);
    editor->open(*frame);
    model.editor = editor.get();
}

void EditorTest::close() {
    if (!frame) return;
    model.editor = nullptr;
    editor.reset();
    frame->removed(frame);
    frame->forget();
    frame = nullptr;
}

VSTGUI::SharedPointer<VSTGUI::CBitmap> EditorTest::bitmap() {
    const CPoint size(editor->width(), editor->height());
    const auto context = VSTGUI::COffscreenContext::create(size, 1.0);
    context->beginDraw();
    frame->drawRect(context, CRect(0, 0, size.x, size.y));
    context->endDraw();
    return VSTGUI::shared(context->getBitmap());
}

void EditorTest::dispatch(VSTGUI::MousePositionEvent&& event, CPoint at, Modifiers modifiers) {
    const double scale = editor->width() / Theme::kWidth;
    event.mousePosition = CPoint(at.x * scale, at.y * scale);
    event.modifiers = modifiers;
    frame->dispatchEvent(event);
}

void EditorTest::down(CPoint at, Modifiers modifiers, VSTGUI::MouseButton button) {
    dispatch(VSTGUI::MouseDownEvent({}, button), at, modifiers);
}

void EditorTest::move(CPoint to, Modifiers modifiers, bool held) {
    const auto button = held ? VSTGUI::MouseButton::Left : VSTGUI::MouseButton::None;
    dispatch(VSTGUI::MouseMoveEvent({}, button), to, modifiers);
}

void EditorTest::up(CPoint at) {
    dispatch(VSTGUI::MouseUpEvent({}, VSTGUI::MouseButton::Left), at, {});
}

void EditorTest::cancelDrag() {
    VSTGUI::MouseCancelEvent event;
    frame->dispatchEvent(event);
}

void EditorTest::wheel(CPoint at, double steps, Modifiers modifiers) {
    VSTGUI::MouseWheelEvent event;
    event.deltaY = steps;
    dispatch(std::move(event), at, modifiers);
}

bool EditorTest::strike(VirtualKey key) {
    VSTGUI::KeyboardEvent event;
    event.type = VSTGUI::EventType::KeyDown;
    event.virt = key;
    frame->dispatchEvent(event);
    return event.consumed;
}

VSTGUI::CControl* EditorTest::control(uint32_t tag) {
    return find<VSTGUI::CControl>(
        [tag](const auto& candidate) { return candidate.getTag() == static_cast<int32_t>(tag); });
}

CRect EditorTest::place(uint32_t tag) {
    const auto* found = control(tag);
    EXPECT_TRUE(found) << "no control " << tag;
    return found ? editorRect(*found) : CRect();
}

void EditorTest::type(const std::string& text) {
    TextField* field = nullptr;
    for (auto* overlay : all<Overlay>())
        if (overlay->textField()) field = overlay->textField();
    ASSERT_NE(field, nullptr) << "no field for '" << text << "'";
    field->setText(text.c_str());
}

void EditorTest::choose(const std::string& title) {
    auto* menu = find<PopupMenu>();
    ASSERT_NE(menu, nullptr) << "no menu for '" << title << "'";
    const auto item = std::ranges::find(menu->items(), title, &MenuItem::title);
    ASSERT_NE(item, menu->items().end()) << "no entry '" << title << "'";
    const auto index = static_cast<std::size_t>(item - menu->items().begin());
    click(menu->itemRect(index).getCenter());
}

void EditorTest::press(const std::string& title) {
    auto* button =
        find<ActionButton>([&](const auto& candidate) { return candidate.text() == title; });
    ASSERT_NE(button, nullptr) << "no button '" << title << "'";
    click(editorRect(*button).getCenter());
}

std::string EditorTest::hintOf(const VSTGUI::CView& view) {
    char text[1024] = "";
    uint32_t size = 0;
    view.getAttribute(VSTGUI::kCViewTooltipAttribute, sizeof text, text, size);
    return text;
}

}  // namespace Quorvant::Testing
