// The module's factory: which classes a host can make, and what it is told about them.
#include "dsp/Engine.h"
#include "plugin/ClassIds.h"
#include "plugin/ControllerWrapper.h"
#include "plugin/EditorView.h"
#include "plugin/EffectWrapper.h"
#include "plugin/Version.h"

#include "public.sdk/source/main/pluginfactory.h"

#include <exception>
#include <memory>
#include <string_view>

using namespace Steinberg;

namespace Quorvant {
namespace {

static_assert(std::string_view(kProductVersion) == CORVANE_VERSION,
              "the build and the product disagree on the version");

// A failed construction gives no object: no exception may cross into the host.
template <typename Make>
FUnknown* madeOrNull(Make make) {
    try {
        return make();
    } catch (const std::exception&) {
        return nullptr;
    }
}

FUnknown* createEffect(void*) {
    return madeOrNull([]() -> FUnknown* {
        return static_cast<Vst::IAudioProcessor*>(
            new QVXVST3EffectWrapper([](const QVXHostLink& link) -> std::unique_ptr<QVXEffect> {
                return std::make_unique<QVXCorvane77x_v2Effect>(link);
            }));
    });
}

FUnknown* createController(void*) {
    return madeOrNull([]() -> FUnknown* {
        return static_cast<Vst::IEditController*>(new QVXVST3ControllerWrapper(createEditorView));
    });
}

PClassInfo2 classInfo(const FUID& id, const char* category, const char* name, int32 flags,
                      const char* subCategories) {
    return {id.toTUID(), PClassInfo::kManyInstances,
            category,    name,
            flags,       subCategories,
            kVendorName, kProductVersion,
            kSdkVersion};
}

CPluginFactory* createFactory() {
    static const PFactoryInfo factoryInfo(kVendorName, kVendorUrl, kVendorEmail,
                                          PFactoryInfo::kUnicode);
    static const PClassInfo2 effect = classInfo(kEffectClassId, kVstAudioEffectClass, kProductName,
                                                Vst::kDistributable, Vst::PlugType::kFxDelay);
    static const PClassInfo2 controller =
        classInfo(kControllerClassId, kVstComponentControllerClass, kControllerName, 0, "");
    auto* factory = new CPluginFactory(factoryInfo);
    factory->registerClass(&effect, createEffect);
    factory->registerClass(&controller, createController);
    return factory;
}

}  // namespace
}  // namespace Quorvant

SMTG_EXPORT_SYMBOL IPluginFactory* PLUGIN_API GetPluginFactory() {
    if (gPluginFactory) {
        gPluginFactory->addRef();
    } else {
        gPluginFactory = Quorvant::createFactory();
    }
    return gPluginFactory;
}
