// Runs a fuzz target without a fuzzing engine: the files of its corpus folder (the first argument), and of each a fixed
// number of deterministic mutations, so that every run tests the same inputs.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

constexpr int mutationsPerFile = 300;
constexpr unsigned interesting[] = {0x00, 0x01, 0x7F, 0x80, 0xFF};

Bytes readFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Half of the changes are in the first 64 bytes, since headers matter most.
std::size_t somewhere(const Bytes& bytes, std::mt19937& random) {
    const std::size_t reach = random() % 2 ? bytes.size() : std::min<std::size_t>(bytes.size(), 64);
    return random() % reach;
}

void mutateOnce(Bytes& bytes, std::mt19937& random) {
    if (bytes.empty())
        bytes.push_back(0);
    const std::size_t at = somewhere(bytes, random);
    const auto place = bytes.begin() + static_cast<std::ptrdiff_t>(at);
    switch (random() % 6) {
    case 0:
        bytes[at] ^= static_cast<std::uint8_t>(1U << random() % 8);
        break;
    case 1:
        bytes[at] = static_cast<std::uint8_t>(interesting[random() % std::size(interesting)]);
        break;
    case 2: // a length or a count
        std::fill_n(place, std::min<std::size_t>(4, bytes.size() - at),
                    static_cast<std::uint8_t>(random() % 2 ? 0xFF : 0x7F));
        break;
    case 3:
        bytes.resize(at);
        break;
    case 4: {
        const Bytes copy(place, place + static_cast<std::ptrdiff_t>(std::min<std::size_t>(16, bytes.size() - at)));
        bytes.insert(place, copy.begin(), copy.end());
        break;
    }
    default:
        bytes.erase(place,
                    place + static_cast<std::ptrdiff_t>(std::min<std::size_t>(1 + random() % 8, bytes.size() - at)));
    }
}

void run(const Bytes& bytes) {
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

} // namespace

int main(int argc, char** argv) {
    // A target may write; it gets a home and a temporary folder of its own.
    std::string home = (fs::temp_directory_path() / "fenlo-fuzz-XXXXXX").string();
    if (argc != 2 || !::mkdtemp(home.data())) {
        std::fprintf(stderr, "usage: %s CORPUS-FOLDER\n", argv[0]);
        return 2;
    }
    ::setenv("HOME", home.c_str(), 1);
    ::setenv("TMPDIR", home.c_str(), 1);

    std::vector<fs::path> corpus{fs::directory_iterator(argv[1]), {}};
    std::sort(corpus.begin(), corpus.end());
    std::mt19937 random(20240601);
    run({});
    for (const fs::path& file : corpus) {
        const Bytes original = readFile(file);
        run(original);
        for (int i = 0; i < mutationsPerFile; ++i) {
            Bytes mutated = original;
            for (auto changes = 1 + random() % 4; changes > 0; --changes)
                mutateOnce(mutated, random);
            run(mutated);
        }
    }
    std::error_code ignored;
    fs::remove_all(home, ignored);
    std::printf("%zu files, %d mutations of each\n", corpus.size(), mutationsPerFile);
    return corpus.empty() ? 1 : 0;
}
