#include "tools/hosting/EditorWindow.h"

#include "tools/hosting/Text.h"

namespace Quorvant::Hosting {

using namespace Steinberg;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kPause{5};

ViewRect sizeOf(IPlugView& view) {
    ViewRect size;
    view.getSize(&size);
    return size;
}

}  // namespace

EditorWindow::~EditorWindow() {
    close();
}

Result<> EditorWindow::show(HostedPlugin& plugin, FIDString platform, IPlugFrame* frame) {
    const std::string name = inQuotes(plugin.name());
    plugView = owned(plugin.controller()->createView(Vst::ViewType::kEditor));
    if (!plugView) return Error{name + " has no editor"};
    if (plugView->isPlatformTypeSupported(platform) != kResultTrue)
        return Error{"the editor of " + name + " knows no windows of this system"};
    void* const parent = makeWindow(plugin.name());
    if (parent == nullptr) return Error{"there is no display to open it on"};
    plugView->setFrame(frame);
    attached = plugView->attached(parent, platform) == kResultOk;
    if (!attached) return Error{"the editor of " + name + " refused to open"};
    return {};
}

void EditorWindow::close() {
    if (attached) plugView->removed();
    attached = false;
    if (plugView) plugView->setFrame(nullptr);
    plugView = nullptr;
}

int EditorWindow::width() const {
    return sizeOf(*plugView).getWidth();
}

int EditorWindow::height() const {
    return sizeOf(*plugView).getHeight();
}

Result<> EditorWindow::setWidth(int pixels) {
    ViewRect wanted = sizeOf(*plugView);
    wanted.bottom = wanted.top + wanted.getHeight() * pixels / wanted.getWidth();
    wanted.right = wanted.left + pixels;
    if (plugView->canResize() != kResultTrue ||
        plugView->checkSizeConstraint(&wanted) != kResultTrue || resizeTo(wanted) != kResultTrue) {
        return Error{"the editor can't be resized"};
    }
    return {};
}

bool EditorWindow::runUntil(const std::function<bool()>& done, milliseconds limit) {
    const auto end = Clock::now() + limit;
    while (!closed) {
        if (done()) return true;
        if (Clock::now() >= end) return false;
        turn(kPause);
    }
    return false;
}

void EditorWindow::key(char character, int16 code, int16 modifiers) {
    plugView->onKeyDown(static_cast<char16>(character), code, modifiers);
    plugView->onKeyUp(static_cast<char16>(character), code, modifiers);
}

void EditorWindow::pass(milliseconds time) {
    runUntil([] { return false; }, time);
}

tresult EditorWindow::resizeTo(const ViewRect& size) {
    ViewRect granted = size;
    resizeWindow(size.getWidth(), size.getHeight());
    return plugView->onSize(&granted);
}

void EditorWindow::follow(int newWidth, int newHeight) {
    if (newWidth == width() && newHeight == height()) return;
    ViewRect wanted(0, 0, newWidth, newHeight);
    if (plugView->canResize() != kResultTrue) wanted = sizeOf(*plugView);
    plugView->checkSizeConstraint(&wanted);
    resizeTo(wanted);
}

}  // namespace Quorvant::Hosting
