// The built module's factory, as a host finds it.
#include "plugin/ClassIds.h"

#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstcomponent.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "pluginterfaces/vst/ivstmessage.h"
#include "public.sdk/source/vst/hosting/module.h"
#include <gtest/gtest.h>

#include <string>

namespace Quorvant {
namespace {

using namespace Steinberg;

class FactoryTest : public testing::Test {
  protected:
    void SetUp() override {
        std::string error;
        module = VST3::Hosting::Module::create(CORVANE_MODULE, error);
        ASSERT_TRUE(module) << error;
        factory = module->getFactory().get();
    }

    template <typename Interface>
    IPtr<Interface> make(const FUID& id) {
        Interface* made = nullptr;
        const tresult result =
            factory->createInstance(id.toTUID(), Interface::iid, reinterpret_cast<void**>(&made));
        EXPECT_EQ(result == kResultOk, made != nullptr);
        return owned(made);
    }

    VST3::Hosting::Module::Ptr module;
    IPtr<IPluginFactory> factory;
};

TEST_F(FactoryTest, tellsTheMaker) {
    PFactoryInfo info;
    ASSERT_EQ(factory->getFactoryInfo(&info), kResultOk);
    EXPECT_STREQ(info.vendor, "quorvant.example");
    EXPECT_STREQ(info.url, "https://www.quorvant.example");
    EXPECT_STREQ(info.email, "mailto:support@quorvant.example");
    EXPECT_EQ(info.flags, 16);
}

TEST_F(FactoryTest, registersProcessorAndController) {
    FUnknownPtr<IPluginFactory2> factory2(factory);
    ASSERT_TRUE(factory2);
    ASSERT_EQ(factory->countClasses(), 2);
    const struct {
        const char *category, *name, *subCategories;
        uint32 flags;
        FUID id;
    } expected[] = {
        {"Audio Module Class", "Corvane QVX77x", "Fx|Delay", 1, kEffectClassId},
        {"Component Controller Class", "Corvane QVX77xController", "", 0, kControllerClassId}};
    for (int32 i = 0; i < 2; ++i) {
        PClassInfo2 info;
        ASSERT_EQ(factory2->getClassInfo2(i, &info), kResultOk);
        EXPECT_STREQ(info.category, expected[i].category);
        EXPECT_STREQ(info.name, expected[i].name);
        EXPECT_STREQ(info.subCategories, expected[i].subCategories);
        EXPECT_EQ(info.classFlags, expected[i].flags);
        EXPECT_EQ(info.cardinality, 0x7FFFFFFF);
        EXPECT_STREQ(info.vendor, "quorvant.example");
        EXPECT_STREQ(info.version, "2.0.0");
        EXPECT_STREQ(info.sdkVersion, "VST 3.7.1");
        EXPECT_EQ(FUID::fromTUID(info.cid), expected[i].id);
    }
}

TEST_F(FactoryTest, classIdentifiersAreThoseOfEveryProjectSaved) {
    char text[33] = {};
    kEffectClassId.toString(text);
    EXPECT_STREQ(text, "FE7A1A96E5AF584279730195FBBA8E58");
    kControllerClassId.toString(text);
    EXPECT_STREQ(text, "8EAF1E0FF9330D249948B0E23073E060");
}

TEST_F(FactoryTest, everyInstanceIsItsOwn) {
    const auto first = make<Vst::IComponent>(kEffectClassId);
    const auto second = make<Vst::IComponent>(kEffectClassId);
    const auto controller = make<Vst::IEditController>(kControllerClassId);
    ASSERT_TRUE(first && second && controller);
    EXPECT_NE(first.get(), second.get());
    FUnknownPtr<Vst::IAudioProcessor> processor(first);
    FUnknownPtr<Vst::IConnectionPoint> connection(first);
    FUnknownPtr<Vst::IProcessContextRequirements> requirements(first);
    EXPECT_TRUE(processor && connection && requirements);
    TUID id{};
    EXPECT_EQ(first->getControllerClassId(id), kResultOk);
    EXPECT_EQ(FUID::fromTUID(id), kControllerClassId);
    EXPECT_FALSE(make<Vst::IComponent>(FUID(1, 2, 3, 4)));
}

}  // namespace
}  // namespace Quorvant
