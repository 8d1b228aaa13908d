#include "optimizer/search/pso_random.h"

#include <random>
#include <stdexcept>

namespace zarn {
namespace {

class UrandomSource final : public RandomSource {
public:
    std::size_t Index(std::size_t first, std::size_t last) override {
        std::mt19937 generator = FreshGenerator();
        return std::uniform_int_distribution<std::size_t>(first, last)(generator);
    }

    double Canonical() override {
        std::mt19937 generator = FreshGenerator();
        return std::generate_canonical<double, 64>(generator);
    }

private:
    // Draws are few next to benchmark runs, so a fresh seed is preferred to shared state.
    static std::mt19937 FreshGenerator() {
        std::random_device device("/dev/urandom");
        return std::mt19937(device());
    }
};

}  // namespace

RandomSource& DeviceRandomSource() {
    static UrandomSource source;
    return source;
}

std::uint16_t RandomSpaceIndex(const std::vector<std::uint16_t>& values, std::size_t& index,
                               RandomSource& random) {
    if (index >= values.size()) {
        throw std::out_of_range("no bandwidth value to draw from");
    }
    index = random.Index(index, values.size() - 1);
    return values.at(index);
}

double RandomReal(double a, double b, RandomSource& random) {
    return a + (b - a) * random.Canonical();
}

}  // namespace zarn
