// Draws the layout of a busy client, from a decoded picture to BGRA, with our kernels and as others
// do it, on the same threads of the same run; proves every result first, and prints the ratios.
//   dewarp_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <string>

#include <benchmark/benchmark.h>
#include <sched.h>

#include "bench/dewarp/Others.h"

namespace {

std::atomic<std::int64_t> s_allocations{0};

void* Allocate(std::size_t size, std::size_t alignment)
{
    ++s_allocations;
    void* const memory =
        std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(std::size_t size)
{
    return Allocate(size, 16);
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    return Allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
    std::free(memory);
}

namespace dewarp::bench {

namespace {

/// Keeps the calling thread, and those it starts, on the first processors of those it may use.
class OnProcessors
{
public:
    explicit OnProcessors(int count)
    {
        sched_getaffinity(0, sizeof(m_before), &m_before);
        cpu_set_t set;
        CPU_ZERO(&set);
        for (int i = 0; i < CPU_SETSIZE && count > 0; ++i)
            if (CPU_ISSET(i, &m_before)) {
                CPU_SET(i, &set);
                --count;
            }
        sched_setaffinity(0, sizeof(set), &set);
    }
    ~OnProcessors() { sched_setaffinity(0, sizeof(m_before), &m_before); }
    OnProcessors(const OnProcessors&) = delete;
    OnProcessors& operator=(const OnProcessors&) = delete;

private:
    cpu_set_t m_before;
};

/// The layout as the engine draws it.
class OurLayout
{
public:
    OurLayout(PixelFormat format, int size, int threads, const Kernels& kernels)
        : m_picture(format, size), m_pool(threads), m_kernels(kernels),
          m_viewSettings(LayoutViews()), m_meshes(m_viewSettings.size())
    {
        for (std::size_t i = 0; i < m_viewSettings.size(); ++i) {
            Build(i);
            m_views.push_back({&m_meshes[i], m_windows.Pixels(i), m_windows.Line(i)});
        }
    }

    void Build(std::size_t i)
    {
        const int size = m_picture.Get().width;
        const ViewSettings& settings = m_viewSettings[i];
        const ViewMapping mapping(settings, size);
        m_meshes[i].BuildInBatches(settings.width, settings.height, size, size,
                                   [&](const double* x, const double* y, int count,
                                       SourcePoint* out) { mapping.Map(x, y, count, out); });
    }

    void Pan(double degrees)
    {
        for (std::size_t i = 0; i < m_viewSettings.size(); ++i)
            if (m_viewSettings[i].kind == Kind::Perspective) {
                m_viewSettings[i].yaw += degrees;
                Build(i);
            }
    }

    void Draw() { DrawWith(m_kernels); }
    void DrawWith(const Kernels& kernels)
    {
        dewarp::Draw(m_pool, m_frame, m_picture.Get(), m_views.data(),
                     static_cast<int>(m_views.size()), kernels);
    }

    /// One perspective view from its new parameters to pixels, the picture being prepared.
    void PanAndDrawOne(double degrees)
    {
        m_viewSettings[2].yaw += degrees;
        Build(2);
        m_pool.Run(m_meshes[2].Bands(), [&](int band) {
            m_meshes[2].DrawBand(m_kernels, m_frame.Levels(), m_frame.Terms(), band,
                                 m_views[2].pixels, m_views[2].line);
        });
    }

    void Prepare() { m_frame.Prepare(m_pool, m_picture.Get(), 1, m_kernels); }
    void DrawOne(std::size_t i)
    {
        m_pool.Run(m_meshes[i].Bands(), [&](int band) {
            m_meshes[i].DrawBand(m_kernels, m_frame.Levels(), m_frame.Terms(), band,
                                 m_views[i].pixels, m_views[i].line);
        });
    }

    const std::vector<View>& Views() const { return m_views; }
    const std::vector<ViewSettings>& Settings() const { return m_viewSettings; }

    /// The bytes of all views.
    std::vector<std::uint8_t> Bytes() const
    {
        std::vector<std::uint8_t> bytes;
        for (std::size_t i = 0; i < m_viewSettings.size(); ++i)
            bytes.insert(bytes.end(), m_views[i].pixels,
                         m_views[i].pixels + m_views[i].line * m_viewSettings[i].height);
        return bytes;
    }

    bool MatchesReference()
    {
        DrawWith(ReferenceKernels());
        const std::vector<std::uint8_t> expected = Bytes();
        Draw();
        return expected == Bytes();
    }

private:
    TestPicture m_picture;
    Pool m_pool;
    Frame m_frame;
    const Kernels& m_kernels;
    std::vector<ViewSettings> m_viewSettings;
    std::vector<Mesh> m_meshes;
    Windows m_windows;
    std::vector<View> m_views;
};

void Finish(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * LayoutPixels());
}

void Ours(benchmark::State& state, const Kernels& kernels, PixelFormat format, int size,
          int threads, double panDegrees)
{
    const OnProcessors pinned(threads);
    OurLayout layout(format, size, threads, kernels);
    if (!layout.MatchesReference())
        return state.SkipWithError("differs from the reference");
    double pan = panDegrees;
    for (int i = 0; i < 4 && pan != 0; ++i) {  // meshes grow to what panning needs
        layout.Pan(pan);
        layout.Draw();
        pan = -pan;
    }
    const std::int64_t before = s_allocations;
    for (auto _ : state) {
        if (pan != 0) {
            layout.Pan(pan);
            pan = -pan;
        }
        layout.Draw();
    }
    state.counters["allocations"] = static_cast<double>(s_allocations - before);
    Finish(state);
}

void OneView(benchmark::State& state, const Kernels& kernels)
{
    const OnProcessors pinned(1);
    OurLayout layout(PixelFormat::Nv12, 2048, 1, kernels);
    layout.Draw();
    double pan = 0.5;
    for (auto _ : state)
        layout.PanAndDrawOne(pan = -pan);
}

/// v360 has no panorama about the axis: its equirect picture of the same size stands for it, which
/// samples as many pixels of the same circle.
void Theirs(benchmark::State& state, std::unique_ptr<Other> (*make)(const Picture&, int), int size,
            int threads, double leastPsnr, bool panoramaDiffers)
{
    const OnProcessors pinned(threads);
    const TestPicture picture(PixelFormat::I420, size);
    const std::unique_ptr<Other> other = make(picture.Get(), threads);
    if (!other->Draw())
        return state.SkipWithError("cannot draw");
    OurLayout ours(PixelFormat::I420, size, 1, ReferenceKernels());
    ours.Draw();
    for (std::size_t i = 0; i < ours.Views().size(); ++i) {
        const ViewSettings& settings = ours.Settings()[i];
        std::ptrdiff_t line = 0;
        const std::uint8_t* const pixels = other->Pixels(i, line);
        const double psnr = Psnr(ours.Views()[i].pixels, ours.Views()[i].line, pixels, line,
                                 settings.width, settings.height);
        if (std::getenv("DEWARP_BENCH_VERBOSE"))
            std::fprintf(stderr, "view %zu: %.1f dB\n", i, psnr);
        if (psnr < leastPsnr && !(panoramaDiffers && settings.kind == Kind::Panorama))
            return state.SkipWithError("shows something else");
    }
    for (auto _ : state)
        if (!other->Draw())
            return state.SkipWithError("cannot draw");
    Finish(state);
}

void OneOf(benchmark::State& state, const Kernels& kernels, std::size_t view)
{
    const OnProcessors pinned(1);
    OurLayout layout(PixelFormat::Nv12, 2048, 1, kernels);
    layout.Draw();
    for (auto _ : state)
        layout.DrawOne(view);
}

void PrepareOnly(benchmark::State& state, PixelFormat format, int size)
{
    const OnProcessors pinned(1);
    OurLayout layout(format, size, 1, BestKernels());
    for (auto _ : state)
        layout.Prepare();
}

/// Two threads are measured by the clock, one by its processor time, which other programs disturb
/// less.
bool OnTwo(const std::string& name)
{
    return name.size() > 2 && name.substr(name.size() - 2) == "/2";
}

/// Remembers the medians by name, for the ratios.
class Medians : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (!run.error_occurred && (run.aggregate_name == "median" ||
                                        (run.aggregate_name.empty() && run.repetitions <= 1)))
                m_times[run.run_name.function_name] = OnTwo(run.run_name.function_name)
                                                          ? run.GetAdjustedRealTime()
                                                          : run.GetAdjustedCPUTime();
        ConsoleReporter::ReportRuns(runs);
    }

    void PrintRatio(const char* text, const std::string& slower, const std::string& quicker) const
    {
        const auto a = m_times.find(slower);
        const auto b = m_times.find(quicker);
        if (a != m_times.end() && b != m_times.end())
            std::printf("%-58s %6.2f  (%.3f / %.3f ms)\n", text, a->second / b->second, a->second,
                        b->second);
    }

private:
    std::map<std::string, double> m_times;
};

template <class... Arguments>
void Add(const std::string& name, Arguments&&... arguments)
{
    auto* const added =
        benchmark::RegisterBenchmark(name.c_str(), std::forward<Arguments>(arguments)...);
    added->Unit(benchmark::kMillisecond)->MinTime(0.05);
    if (OnTwo(name))
        added->UseRealTime();
}

void RegisterAll()
{
    const Kernels& best = BestKernels();
    for (const int size : {2048, 3000})
        for (const int threads : {1, 2}) {
            const std::string tail = "/" + std::to_string(size) + "/" + std::to_string(threads);
            Add("v360" + tail, Theirs, MakeV360, size, threads, 20.0, true);
            Add("opencv" + tail, Theirs, MakeOpenCv, size, threads, 20.0, false);
            Add("nv12" + tail, Ours, best, PixelFormat::Nv12, size, threads, 0.0);
            Add("i420" + tail, Ours, best, PixelFormat::I420, size, threads, 0.0);
        }
    Add("panned", Ours, best, PixelFormat::Nv12, 2048, 1, 0.25);
    Add("one view", OneView, best);
    for (const Kernels* kernels : SupportedKernels()) {
        Add(std::string("nv12/") + kernels->name, Ours, *kernels, PixelFormat::Nv12, 2048, 1, 0.0);
        Add(std::string("circle/") + kernels->name, OneOf, *kernels, 0);
        Add(std::string("panorama/") + kernels->name, OneOf, *kernels, 1);
        Add(std::string("perspective/") + kernels->name, OneOf, *kernels, 7);
    }
    Add("prepare/nv12", PrepareOnly, PixelFormat::Nv12, 2048);
    Add("prepare/i420", PrepareOnly, PixelFormat::I420, 2048);
}

void PrintRatios(const Medians& medians)
{
    std::printf("\nTimes as fast (medians of this run)\n");
    for (const std::string size : {"2048", "3000"})
        for (const std::string threads : {"1", "2"})
            for (const std::string format : {"nv12", "i420"})
                for (const std::string other : {"v360", "opencv"}) {
                    const std::string tail = "/" + size + "/" + threads;
                    const std::string text =
                        format + " than " + other + ", " + size + ", threads " + threads;
                    medians.PrintRatio(text.c_str(), other + tail, format + tail);
                }
    medians.PrintRatio("two threads than one, nv12", "nv12/2048/1", "nv12/2048/2");
    medians.PrintRatio("all eight views panned: time over none moving", "panned", "nv12/2048/1");
    for (const char* name : {"SSE4", "AVX2", "AVX2 gather", "AVX-512", "AVX-512 gather"})
        for (const std::string other : {"v360", "opencv"})
            medians.PrintRatio((std::string(name) + " than " + other).c_str(), other + "/2048/1",
                               std::string("nv12/") + name);
}

}  // namespace

}  // namespace dewarp::bench

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    dewarp::bench::RegisterAll();
    dewarp::bench::Medians medians;
    benchmark::RunSpecifiedBenchmarks(&medians);
    dewarp::bench::PrintRatios(medians);
    benchmark::Shutdown();
    return 0;
}
