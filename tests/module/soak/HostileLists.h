// Parameter lists and streams as no careful host would make them.
#pragma once

#include "tools/hosting/HostSide.h"

#include "base/source/fobject.h"
#include "pluginterfaces/base/ibstream.h"
#include "pluginterfaces/vst/ivstparameterchanges.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <vector>

namespace Quorvant::Soak {

using Hosting::Bytes;
using Steinberg::int32;
using Steinberg::int64;
using Steinberg::tresult;

struct Point {
    int32 offset;
    double value;
};

// Hands out its points in the order in which they came, whatever their offsets.
class Queue final : public Steinberg::FObject, public Steinberg::Vst::IParamValueQueue {
  public:
    explicit Queue(Steinberg::Vst::ParamID parameter) : id(parameter) {}

    std::vector<Point> points;
    bool lies = false;  // has points when counted, and none when asked for them

    Steinberg::Vst::ParamID PLUGIN_API getParameterId() override { return id; }
    int32 PLUGIN_API getPointCount() override { return static_cast<int32>(points.size()); }
    tresult PLUGIN_API getPoint(int32 index, int32& offset, double& value) override {
        if (lies || index < 0 || index >= getPointCount()) return Steinberg::kResultFalse;
        offset = points[static_cast<size_t>(index)].offset;
        value = points[static_cast<size_t>(index)].value;
        return Steinberg::kResultOk;
    }
    tresult PLUGIN_API addPoint(int32 offset, double value, int32& index) override {
        index = getPointCount();
        points.push_back({offset, value});
        return Steinberg::kResultOk;
    }

    DELEGATE_REFCOUNT(FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(Steinberg::Vst::IParamValueQueue)
    END_DEFINE_INTERFACES(FObject)

  private:
    const Steinberg::Vst::ParamID id;
};

// One parameter may have several queues, queues may be missing, and new ones refused.
class Changes final : public Steinberg::FObject, public Steinberg::Vst::IParameterChanges {
  public:
    std::deque<Queue> queues;
    int missing = -1;      // index of a queue that isn't handed out
    bool refuses = false;  // takes no new queues

    int32 PLUGIN_API getParameterCount() override { return static_cast<int32>(queues.size()); }
    Steinberg::Vst::IParamValueQueue* PLUGIN_API getParameterData(int32 index) override {
        if (index < 0 || index >= getParameterCount() || index == missing) return nullptr;
        return &queues[static_cast<size_t>(index)];
    }
    Steinberg::Vst::IParamValueQueue* PLUGIN_API addParameterData(const Steinberg::Vst::ParamID& id,
                                                                  int32& index) override {
        if (refuses) return nullptr;
        index = getParameterCount();
        return &queues.emplace_back(id);
    }

    DELEGATE_REFCOUNT(FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(Steinberg::Vst::IParameterChanges)
    END_DEFINE_INTERFACES(FObject)
};

// A stream over bytes that gives or takes a few at a time, and fails at some place.
class Stream final : public Steinberg::FObject, public Steinberg::IBStream {
  public:
    enum class Manner {
        Whole,    // as files are
        Trickle,  // a few bytes a call
        Lie,      // tells of more bytes than it was asked for
    };
    explicit Stream(Bytes content = {}, Manner how = Manner::Whole, size_t failing = SIZE_MAX)
        : bytes(std::move(content)), manner(how), failsAt(failing) {}

    Bytes bytes;

    tresult PLUGIN_API read(void* buffer, int32 count, int32* done) override {
        return move(count, done, bytes.size(),
                    [&](size_t step) { std::memcpy(buffer, bytes.data() + position, step); });
    }
    tresult PLUGIN_API write(void* buffer, int32 count, int32* done) override {
        return move(count, done, SIZE_MAX, [&](size_t step) {
            bytes.resize(std::max(bytes.size(), position + step));
            std::memcpy(bytes.data() + position, buffer, step);
        });
    }
    tresult PLUGIN_API seek(int64, int32, int64*) override { return Steinberg::kResultFalse; }
    tresult PLUGIN_API tell(int64*) override { return Steinberg::kResultFalse; }

    DELEGATE_REFCOUNT(FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(Steinberg::IBStream)
    END_DEFINE_INTERFACES(FObject)

  private:
    template <typename Copy>
    tresult move(int32 count, int32* done, size_t end, Copy copy) {
        if (done != nullptr) *done = 0;
        if (count < 0 || position >= failsAt) return Steinberg::kResultFalse;
        size_t step = std::min(static_cast<size_t>(count), std::min(end, failsAt) - position);
        if (manner == Manner::Trickle) step = std::min<size_t>(step, 1 + position % 7);
        if (step > 0) copy(step);
        position += step;
        if (done != nullptr) *done = manner == Manner::Lie ? count + 1 : static_cast<int32>(step);
        return Steinberg::kResultOk;
    }

    const Manner manner;
    const size_t failsAt;
    size_t position = 0;
};

}  // namespace Quorvant::Soak
