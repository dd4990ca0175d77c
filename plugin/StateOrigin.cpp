#include "plugin/StateOrigin.h"

#include "pluginterfaces/vst/ivstattributes.h"
#include "pluginterfaces/vst/vstpresetkeys.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Quorvant {

using namespace Steinberg;

StateOrigin readOrigin(IBStream& stream) {
    StateOrigin origin;
    FUnknownPtr<Vst::IStreamAttributes> attributes(&stream);
    Vst::IAttributeList* const list = attributes ? attributes->getAttributes() : nullptr;
    if (!list) return origin;
    constexpr std::size_t kCapacity = 1024;
    std::array<Vst::TChar, kCapacity> text{};
    constexpr uint32 kBytes = (kCapacity - 1) * sizeof(Vst::TChar);
    if (list->getString(Vst::PresetAttributes::kStateType, text.data(), kBytes) == kResultOk) {
        origin.fromProject = std::ranges::equal(std::u16string_view(text.data()),
                                                std::string_view(Vst::StateType::kProject));
    }
    text.fill(0);
    if (list->getString(Vst::PresetAttributes::kFilePathStringType, text.data(), kBytes) ==
        kResultOk) {
        origin.filePath = text.data();
    }
    return origin;
}

}  // namespace Quorvant
