#include "plugin/EditorView.h"

#include "gui/Editor.h"
#include "gui/EditorModel.h"
#include "plugin/ControllerWrapper.h"

#include "pluginterfaces/base/funknownimpl.h"
#include "pluginterfaces/gui/iplugviewcontentscalesupport.h"
#include "pluginterfaces/vst/ivstcontextmenu.h"
#include "public.sdk/source/vst/vstguieditor.h"

#include <optional>

#ifdef _WIN32
#include <vstgui/lib/platform/platformfactory.h>
#include <vstgui/lib/platform/win32/win32factory.h>
#else
#include "plugin/HostRunLoop.h"
#endif

namespace Quorvant {
namespace {

using namespace Steinberg;

constexpr int32 kIdleMilliseconds = 33;

class EditorView final : public Vst::VSTGUIEditor,
                         public IPlugViewContentScaleSupport,
                         private EditorModel,
                         private ControllerListener {
  public:
    explicit EditorView(QVXVST3ControllerWrapper& wrapper)
        : VSTGUIEditor(&wrapper), shell(wrapper), editor(*this) {
        setIdleRate(kIdleMilliseconds);
        takeSize();
    }

    tresult PLUGIN_API attached(void* parent, FIDString type) override {
        if (frame || !parent || !type || isPlatformTypeSupported(type) != kResultTrue)
            return kResultFalse;
        const tresult result = VSTGUIEditor::attached(parent, type);
        if (frame) return result;
        removed();  // the base classes take it for open
        return kResultFalse;
    }

    bool PLUGIN_API open(void* parent, const VSTGUI::PlatformType& type) override {
#ifdef _WIN32
        // One way of drawing on every Windows, the one that is tested.
        if (const auto* factory = VSTGUI::getPlatformFactory().asWin32Factory())
            factory->disableDirectComposition();
        VSTGUI::IPlatformFrameConfig* config = nullptr;
#else
        VSTGUI::X11::FrameConfig x11;
        runLoop.emplace(plugFrame);
        x11.runLoop = runLoop->forFrames();
        if (!x11.runLoop || !isWindow(parent)) {
            runLoop.reset();
            return false;
        }
        VSTGUI::IPlatformFrameConfig* config = &x11;
#endif
        frame = new VSTGUI::CFrame(VSTGUI::CRect(0, 0, editor.width(), editor.height()), this);
        editor.open(*frame);
        if (!frame->open(parent, type, config)) {
            closeFrame();
            return false;
        }
#ifndef _WIN32
        bindCairoToConnection();
#endif
        shell.addListener(*this);
        return true;
    }

    void PLUGIN_API close() override {
        shell.removeListener(*this);
        closeFrame();
    }

    VSTGUI::CMessageResult notify(VSTGUI::CBaseObject* sender, const char* message) override {
        const auto result = VSTGUIEditor::notify(sender, message);
        if (frame && message == VSTGUI::CVSTGUITimer::kMsgTimer) editor.idle();
        return result;
    }

    tresult PLUGIN_API canResize() override {
        return kResultTrue;
    }

    tresult PLUGIN_API checkSizeConstraint(ViewRect* wanted) override {
        if (!wanted) return kInvalidArgument;
        const auto [width, height] = editor.nearestSize(wanted->getWidth());
        wanted->right = wanted->left + width;
        wanted->bottom = wanted->top + height;
        return kResultTrue;
    }

    tresult PLUGIN_API onSize(ViewRect* size) override {
        if (!size) return kInvalidArgument;
        if (frame) editor.resized(size->getWidth(), size->getHeight());
        return CPluginView::onSize(size);
    }

    tresult PLUGIN_API setContentScaleFactor(ScaleFactor factor) override {
        if (!editor.setContentScale(factor)) return kInvalidArgument;
        if (!frame) takeSize();
        return kResultTrue;
    }

    // Space and the like are the host's, except while somebody types.
    tresult PLUGIN_API onKeyDown(char16 key, int16 code, int16 modifiers) override {
        return editor.wantsKeyboard() ? VSTGUIEditor::onKeyDown(key, code, modifiers)
                                      : kResultFalse;
    }
    tresult PLUGIN_API onKeyUp(char16 key, int16 code, int16 modifiers) override {
        return editor.wantsKeyboard() ? VSTGUIEditor::onKeyUp(key, code, modifiers) : kResultFalse;
    }

    DEFINE_INTERFACES
    DEF_INTERFACE(IPlugViewContentScaleSupport)
    END_DEFINE_INTERFACES(VSTGUIEditor)
    REFCOUNT_METHODS(VSTGUIEditor)

  private:
    // EditorModel
    double value(uint32_t index) const override {
        return shell.getParamNormalized(index);
    }
    using VSTGUIEditor::beginEdit;  // by a control's tag
    using VSTGUIEditor::endEdit;
    void beginEdit(uint32_t index) override {
        shell.beginEdit(index);
    }
    void performEdit(uint32_t index, double normalised) override {
        if (shell.setParamNormalized(index, normalised) == kResultOk)
            shell.performEdit(index, shell.getParamNormalized(index));
    }
    void endEdit(uint32_t index) override {
        shell.endEdit(index);
    }
    double reading(uint32_t index) const override {
        return shell.getParamNormalized(index);
    }
    PresetManager* presets() override {
        return shell.presets();
    }
    bool showHostMenu(uint32_t index, double x, double y) override {
        FUnknownPtr<Vst::IComponentHandler3> host(shell.getComponentHandler());
        if (!host) return false;
        const Vst::ParamID id = index;
        const auto menu = owned(host->createContextMenu(this, &id));
        return menu && menu->popup(static_cast<UCoord>(x), static_cast<UCoord>(y)) == kResultOk;
    }
    bool requestSize(int width, int height) override {
        ViewRect wanted(0, 0, width, height);
        return plugFrame && plugFrame->resizeView(this, &wanted) == kResultOk;
    }
    int zoom() const override {
        return shell.zoom();
    }
    void setZoom(int percent) override {
        shell.setZoom(percent);
    }

    // ControllerListener
    void parameterChanged(uint32_t index) override {
        editor.parameterChanged(index);
    }
    void presetsChanged() override {
        editor.presetsChanged();
    }

    void takeSize() {
        ViewRect size(0, 0, editor.width(), editor.height());
        setRect(size);
    }
    void closeFrame() {
        if (!frame) return;
        editor.close();
        frame->close();
        frame = nullptr;
#ifndef _WIN32
        runLoop.reset();
#endif
    }

    QVXVST3ControllerWrapper& shell;
    Editor editor;
#ifndef _WIN32
    std::optional<HostRunLoop> runLoop;
#endif
};

}  // namespace

IPlugView* createEditorView(QVXVST3ControllerWrapper& controller) {
    return new EditorView(controller);
}

}  // namespace Quorvant
