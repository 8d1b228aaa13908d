#include "board/perf/sampling.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zarn::board {
namespace {

constexpr std::uint64_t kFunctionStream = 15;
constexpr std::uint64_t kAddressStream = 16;
constexpr std::uint64_t kCoreStream = 17;
constexpr std::uint64_t kMomentStream = 18;
constexpr double kCyclesPerSample = kCpuHz / kSamplesPerSecond;
constexpr double kGoldenRatio = 0.6180339887498949;
constexpr std::uint64_t kNsPerMs = 1000000;
constexpr std::uint64_t kNsPerSecond = 1000000000;
// Who calls all functions of a program.
constexpr const char* kCaller = "work_loop";

// Draws the samples of one program, one after the other.
class Sampler {
public:
    Sampler(const BoardState& state, const CpuTarget& target, std::size_t program,
            const ProgramImage* image, SampledEvent event)
        : state_(state), program_(program), image_(image), event_(event) {
        const bool isNamed = program < kMaxPrograms && (target.programs & (1U << program)) != 0;
        const std::uint32_t own =
            program == kSystemWork ? target.cores : ProfileOf(state, program).cores;
        for (std::uint32_t core = 0; core < 32; ++core) {
            if (((isNamed ? own : own & target.cores) & (1U << core)) != 0) {
                cores_.push_back(core);
            }
        }
    }

    // Adds the samples that are due when that work is done.
    void Take(const WorkPiece& piece, std::vector<CycleSample>& samples) {
        const PipelineProfile& profile = ProfileOf(state_, program_);
        const bool ofMisses = event_ == SampledEvent::CacheMisses;
        due_ += ofMisses ? piece.cycles *
                               StandardRatesPerCycle(profile,
                                                     piece.stretch)[StandardEvent::CacheMisses] /
                               kMissesPerSample
                         : piece.cycles / kCyclesPerSample;
        const auto count = static_cast<std::uint64_t>(due_);
        due_ -= static_cast<double>(count);
        const std::uint64_t lengthNs = (piece.span.toMs - piece.span.fromMs) * kNsPerMs;
        const PerFunction shares =
            ofMisses ? LineShares(profile) : FunctionShares(profile, piece.stretch);
        for (std::uint64_t i = 0; i < count; ++i) {
            // One in each of as many parts of the time.
            const std::uint64_t at = (i * lengthNs + Draw(kMomentStream) % lengthNs) / count;
            AddSample(state_.startNs + piece.span.fromMs * kNsPerMs + at, shares, samples);
        }
    }

private:
    // What the next sample stands for.
    [[nodiscard]] std::uint64_t Weight() const {
        switch (event_) {
            case SampledEvent::CpuClock:
                return kNsPerSecond / kSamplesPerSecond;
            case SampledEvent::CacheMisses:
                return kMissesPerSample;
            case SampledEvent::Cycles:
                break;
        }
        return static_cast<std::uint64_t>(kCyclesPerSample);
    }

    // A random number that belongs to the next sample.
    [[nodiscard]] std::uint64_t Draw(std::uint64_t stream) const {
        const std::size_t kind = static_cast<std::size_t>(event_) * (kMaxPrograms + 1);
        return HashOf(state_.seed, stream, kind + program_, number_);
    }

    std::size_t DrawFunction(const PerFunction& shares) const {
        // Steps of the golden ratio fill any stretch of samples evenly: a short recording is as
        // near to the shares as a profiler's that meets a program in the regular course of its
        // work.
        const double first = (1.0 + SwingOf(state_.seed, kFunctionStream, program_, 0)) / 2;
        double left = std::fmod(first + static_cast<double>(number_) * kGoldenRatio, 1.0);
        std::size_t last = 0;
        for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
            if (shares[i] > 0.0) {
                last = i;
                if (left < shares[i]) {
                    return i;
                }
            }
            left -= shares[i];
        }
        return last;
    }

    // An address in a function; 0 if the program has none of that name.
    std::uint64_t AddressIn(const char* name) const {
        const auto found = image_->functions.find(name);
        if (found == image_->functions.end()) {
            return 0;
        }
        const CodePlace& place = found->second;
        return image_->process.start + place.offset - image_->process.offset +
               Draw(kAddressStream) % place.size;
    }

    void AddSample(std::uint64_t timeNs, const PerFunction& shares,
                   std::vector<CycleSample>& samples) {
        CycleSample sample;
        sample.timeNs = timeNs;
        sample.core = cores_[Draw(kCoreStream) % cores_.size()];
        sample.event = event_;
        sample.cycles = Weight();
        sample.inKernel = program_ == kSystemWork;
        sample.pid = sample.inKernel ? kSystemPid : image_->process.pid;
        if (sample.inKernel) {
            sample.chain = {kKernelCode};
        } else {
            sample.chain = {AddressIn(kWorkFunctions[DrawFunction(shares)].name),
                            AddressIn(kCaller)};
        }
        ++number_;
        if (sample.chain.front() != 0 && sample.chain.back() != 0) {
            samples.push_back(std::move(sample));
        }
    }

    const BoardState& state_;
    std::size_t program_;
    const ProgramImage* image_;
    std::vector<std::uint32_t> cores_;
    SampledEvent event_;
    double due_ = 0.0;  // samples
    std::uint64_t number_ = 0;
};

}  // namespace

std::vector<CycleSample> SamplesOf(const BoardState& state, const CpuTarget& target,
                                   const std::vector<WorkPiece>& work, const ProgramImages& images,
                                   SampledEvent event) {
    std::map<std::size_t, Sampler> samplers;
    std::vector<CycleSample> samples;
    for (const WorkPiece& piece : work) {
        const auto image = images.find(piece.program);
        if (piece.program != kSystemWork && image == images.end()) {
            continue;
        }
        const ProgramImage* known = image == images.end() ? nullptr : &image->second;
        samplers.try_emplace(piece.program, state, target, piece.program, known, event)
            .first->second.Take(piece, samples);
    }
    std::stable_sort(
        samples.begin(), samples.end(),
        [](const CycleSample& a, const CycleSample& b) { return a.timeNs < b.timeNs; });
    return samples;
}

std::vector<SampledProcess> ProcessesOf(const ProgramImages& images, const CpuTarget& target) {
    std::vector<SampledProcess> processes;
    for (const auto& [program, image] : images) {
        processes.push_back(image.process);
    }
    if (target.cores != 0) {
        SampledProcess system;
        system.pid = kSystemPid;
        system.name = "system";
        processes.push_back(system);
    }
    return processes;
}

}  // namespace zarn::board
