/// Runs a fuzzer without a fuzzing engine: on each input of a corpus, and on COPIES mutations of
/// it, the same on every run.
///
///     FUZZER CORPUS COPIES
#include <Mox/Types.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size);

namespace {

using Mox::U8;
using Input = std::vector<U8>;

/// Mutates inputs pseudo-randomly. Thread-compatible.
class Mutator {
  public:
    void change(Input& input) {
        for (auto count = 1 + below(4); count > 0 && !input.empty(); --count) {
            changeOnce(input);
        }
    }

  private:
    std::size_t below(std::size_t bound) { return random_() % bound; }

    std::ptrdiff_t placeIn(Input const& input) {
        return static_cast<std::ptrdiff_t>(below(input.size()));
    }

    void changeOnce(Input& input) {
        constexpr auto odd = std::to_array<U8>({0x00, 0x01, 0x7f, 0x80, 0xff});
        auto const place = placeIn(input);
        auto const length = std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(1 + below(32)),
                                                     std::ssize(input) - place);
        auto const at = input.begin() + place;
        Input const piece(at, at + length);
        switch (below(5)) {
        case 0:
            *at ^= static_cast<U8>(1U << below(8));
            break;
        case 1:
            *at = odd[below(odd.size())];
            break;
        case 2:
            input.erase(at, at + length);
            break;
        case 3:
            input.insert(input.begin() + placeIn(input), piece.begin(), piece.end());
            break;
        default:
            auto const to = placeIn(input);
            std::copy_n(piece.begin(), std::min(length, std::ssize(input) - to),
                        input.begin() + to);
        }
    }

    std::mt19937 random_{1};
};

Input contentOf(std::filesystem::path const& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

} // namespace

int main(int count, char* arguments[]) {
    if (count != 3) {
        std::fprintf(stderr, "usage: %s CORPUS COPIES\n", arguments[0]);
        return 2;
    }
    std::vector<std::filesystem::path> paths;
    for (auto const& entry : std::filesystem::directory_iterator(arguments[1])) {
        paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    auto const copies = std::stoul(arguments[2]);
    Mutator mutator;
    for (auto const& path : paths) {
        auto const input = contentOf(path);
        LLVMFuzzerTestOneInput(input.data(), input.size());
        for (unsigned long copy = 0; copy < copies; ++copy) {
            auto changed = input;
            mutator.change(changed);
            LLVMFuzzerTestOneInput(changed.data(), changed.size());
        }
    }
    std::printf("%zu inputs, each with %lu changed copies\n", paths.size(), copies);
    return paths.empty() ? 1 : 0;
}
