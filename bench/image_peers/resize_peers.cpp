// Resizing of RGB24 pictures, the rendered camera scene, beside OpenCV and libswscale. The counter psnr is the distance
// in dB from the method's definition in double precision: the Catmull-Rom cubic (a = -0.5) over 4x4 pixels, or the mean
// of areas. What the peers are set to:
//  opencv              INTER_CUBIC is 4x4 pixels as well, with its fixed a = -0.75; INTER_AREA is the mean of areas.
//  swscale             SWS_BICUBIC with its parameters 0 and 0.5, which is Catmull-Rom; SWS_AREA. For shrinking it
//                      widens the cubic by the factor, which is another definition: its psnr there does not tell of
//                      errors.
//  swscale_accurate    the same with SWS_ACCURATE_RND and chroma at the full width.
#include "bench/image_peers/image_peers.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string>

#include <opencv2/imgproc.hpp>

#include "kernels/dispatch/kernels.h"
#include "tools/common/camera_scene.h"

#ifdef HAVE_SWSCALE
extern "C" {
#include <libswscale/swscale.h>
}
#endif

namespace {

using Pixels = std::vector<uint8_t>;

struct Size {
    int Width, Height;
    auto operator<=>(const Size&) const = default;
    size_t Bytes() const { return static_cast<size_t>(Width) * static_cast<size_t>(Height) * 3; }
};

struct Task {
    const char* pName;
    Size From, To;
    bool bArea;
};
constexpr Task kTasks[]{
    {"cubic/360p_to_720p", {640, 360}, {1280, 720}, false},    {"cubic/720p_to_360p", {1280, 720}, {640, 360}, false},
    {"cubic/1080p_to_720p", {1920, 1080}, {1280, 720}, false}, {"area/1080p_to_360p", {1920, 1080}, {640, 360}, true},
    {"area/1080p_to_400p", {1920, 1080}, {712, 400}, true},    {"half/720p_to_360p", {1280, 720}, {640, 360}, true}};

const Pixels& Scene(Size s)
{
    static std::map<Size, Pixels> Scenes;
    Pixels& Rgb = Scenes[s];
    if (Rgb.empty()) {
        std::vector<uint8_t> Planes;
        CameraScene({s.Width, s.Height}, 30).Render(0, Planes);
        Rgb.resize(s.Bytes());
        const uint8_t* const pU = &Planes[s.Bytes() / 3];
        const kernels::SourcePlanes From{{Planes.data(), pU, pU + s.Bytes() / 12}, {s.Width, s.Width / 2, s.Width / 2}};
        const kernels::TargetPlanes To{{Rgb.data()}, {s.Width * 3}};
        kernels::g_Kernels.Yuv420ToRgb24(&From, &To, s.Width, s.Height);
    }
    return Rgb;
}

// The definition in double precision: weights of up to so many source pixels for each target pixel, in one direction.
struct Weights {
    int First;
    std::vector<double> Value;
};

Weights WeightsOf(int i, double Scale /* source pixels to a target pixel */, bool bArea)
{
    Weights w;
    if (bArea) {
        const double Begin = i * Scale, End = (i + 1) * Scale;
        w.First = static_cast<int>(Begin);
        for (int k = w.First; k < End; ++k)
            w.Value.push_back((std::min<double>(k + 1, End) - std::max<double>(k, Begin)) / Scale);
        return w;
    }
    const double Centre = (i + 0.5) * Scale - 0.5, f = Centre - std::floor(Centre);
    w.First = static_cast<int>(std::floor(Centre)) - 1;
    w.Value = {((-0.5 * f + 1) * f - 0.5) * f, (1.5 * f - 2.5) * f * f + 1, ((-1.5 * f + 2) * f + 0.5) * f,
               (0.5 * f - 0.5) * f * f};
    return w;
}

double Psnr(const Task& t, const Pixels& Got)
{
    const Pixels& Source = Scene(t.From);
    const double xScale = static_cast<double>(t.From.Width) / t.To.Width;
    const double yScale = static_cast<double>(t.From.Height) / t.To.Height;
    std::vector<Weights> Columns;
    for (int x = 0; x < t.To.Width; ++x) Columns.push_back(WeightsOf(x, xScale, t.bArea));
    double Sum = 0;
    std::vector<double> Row(static_cast<size_t>(t.From.Width) * 3);
    for (int y = 0; y < t.To.Height; ++y) {
        const Weights Rows = WeightsOf(y, yScale, t.bArea);
        std::fill(Row.begin(), Row.end(), 0.0);
        for (size_t j = 0; j < Rows.Value.size(); ++j) {
            const int From = std::clamp(Rows.First + static_cast<int>(j), 0, t.From.Height - 1);
            const uint8_t* const pFrom = &Source[static_cast<size_t>(From) * Row.size()];
            for (size_t i = 0; i < Row.size(); ++i) Row[i] += Rows.Value[j] * pFrom[i];
        }
        for (int x = 0; x < t.To.Width * 3; ++x) {
            const Weights& Column = Columns[static_cast<size_t>(x / 3)];
            double Exact = 0;
            for (size_t k = 0; k < Column.Value.size(); ++k) {
                const int At = std::clamp(Column.First + static_cast<int>(k), 0, t.From.Width - 1);
                Exact += Column.Value[k] * Row[static_cast<size_t>(At * 3 + x % 3)];
            }
            const double Error =
                std::clamp(Exact, 0.0, 255.0) -
                Got[static_cast<size_t>(y) * static_cast<size_t>(t.To.Width) * 3 + static_cast<size_t>(x)];
            Sum += Error * Error;
        }
    }
    return 10 * std::log10(255.0 * 255.0 * static_cast<double>(Got.size()) / Sum);
}

template <class Function>
void Measure(benchmark::State& State, const Task& t, Function&& Resize)
{
    const Pixels& Source = Scene(t.From);
    Pixels Target(t.To.Bytes());
    for (auto _ : State) {
        Resize(Source, Target);
        benchmark::ClobberMemory();
    }
    State.SetItemsProcessed(State.iterations() * t.To.Width * t.To.Height);
    State.counters["psnr"] = Psnr(t, Target);
}

void Quilvex(benchmark::State& State, const Task& t)
{
    const bool bHalf = t.bArea && t.From.Width == 2 * t.To.Width && t.From.Height == 2 * t.To.Height;
    Measure(State, t, [&](const Pixels& From, Pixels& To) {
        if (bHalf)
            kernels::g_Kernels.Halve8uC3(From.data(), t.From.Width * 3, To.data(), t.To.Width * 3, t.To.Width,
                                         t.To.Height);
        else
            kernels::g_Kernels.Resize8uC3(
                From.data(), t.From.Width, t.From.Height, t.From.Width * 3, 0, 0, t.From.Width, t.From.Height,
                To.data(), t.To.Width * 3, t.To.Width, t.To.Height, static_cast<double>(t.To.Width) / t.From.Width,
                static_cast<double>(t.To.Height) / t.From.Height, t.bArea ? kernels::kArea : kernels::kCubic);
    });
}

void OpenCv(benchmark::State& State, const Task& t)
{
    Measure(State, t, [&](const Pixels& From, Pixels& To) {
        const cv::Mat Source(t.From.Height, t.From.Width, CV_8UC3, const_cast<uint8_t*>(From.data()));
        cv::Mat Target(t.To.Height, t.To.Width, CV_8UC3, To.data());
        cv::resize(Source, Target, Target.size(), 0, 0, t.bArea ? cv::INTER_AREA : cv::INTER_CUBIC);
    });
}

#ifdef HAVE_SWSCALE
template <int Flags>
void SwScale(benchmark::State& State, const Task& t)
{
    const double Parameters[2]{0.0, 0.5};
    const std::unique_ptr<SwsContext, decltype(&sws_freeContext)> pContext(
        sws_getContext(t.From.Width, t.From.Height, AV_PIX_FMT_BGR24, t.To.Width, t.To.Height, AV_PIX_FMT_BGR24,
                       (t.bArea ? SWS_AREA : SWS_BICUBIC) | Flags, nullptr, nullptr, t.bArea ? nullptr : Parameters),
        sws_freeContext);
    if (!pContext) return State.SkipWithError("no context");
    Measure(State, t, [&](const Pixels& From, Pixels& To) {
        const uint8_t* const pFrom[]{From.data()};
        uint8_t* const pTo[]{To.data()};
        const int FromStep = t.From.Width * 3, ToStep = t.To.Width * 3;
        sws_scale(pContext.get(), pFrom, &FromStep, 0, t.From.Height, pTo, &ToStep);
    });
}
constexpr int kAccurate = SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
#endif

bool RegisterTasks()
{
    for (const Task& t : kTasks) {
        const auto Register = [&](const char* pPeer, void (*pBody)(benchmark::State&, const Task&)) {
            benchmark::RegisterBenchmark((std::string("Resize/") + t.pName + "/" + pPeer).c_str(),
                                         [=, &t](benchmark::State& State) { pBody(State, t); });
        };
        Register("quilvex", Quilvex);
        Register("opencv", OpenCv);
#ifdef HAVE_SWSCALE
        Register("swscale", SwScale<0>);
        Register("swscale_accurate", SwScale<kAccurate>);
#endif
    }
    return true;
}
const bool s_Tasks = RegisterTasks();

} // namespace
