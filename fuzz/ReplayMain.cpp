// Replays a fuzz target's seeds through its entry point, then deterministic mutations of them
// (byte flips, truncations, insertions, deletions, repeated and spliced chunks), so that the test
// suite exercises a reader without libFuzzer. A crash, a sanitizer report or an escaping exception
// ends the process abnormally and fails the test.
//
//   replay_<name> [--mutations N] PATH...   (a PATH is a seed file or a folder of them)

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

using Bytes = std::vector<std::uint8_t>;

void Run(const Bytes& input) {
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

Bytes ReadFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

// One mutation of `seed`; `other` is a second seed for splicing.
Bytes Mutate(const Bytes& seed, const Bytes& other, std::mt19937_64& random) {
    Bytes out = seed;
    auto pick = [&](std::size_t n) { return n == 0 ? 0 : std::size_t(random() % n); };
    const int edits = 1 + int(random() % 4);
    for (int i = 0; i < edits; ++i) {
        switch (random() % 7) {
        case 0: // flip a bit
            if (!out.empty())
                out[pick(out.size())] ^= std::uint8_t(1u << (random() % 8));
            break;
        case 1: // an interesting byte
            if (!out.empty()) {
                static const std::uint8_t bytes[] = {0,   0xff, 0x7f, 0x80, '\n', '\r', '=',
                                                     '[', '"',  '<',  '-',  '.',  'e',  '9'};
                out[pick(out.size())] = bytes[random() % sizeof bytes];
            }
            break;
        case 2: // truncate
            out.resize(pick(out.size() + 1));
            break;
        case 3: // insert a random byte
            out.insert(out.begin() + std::ptrdiff_t(pick(out.size() + 1)), std::uint8_t(random()));
            break;
        case 4: { // delete a chunk
            if (out.empty())
                break;
            std::size_t from = pick(out.size());
            std::size_t count = 1 + pick(std::min<std::size_t>(64, out.size() - from));
            out.erase(out.begin() + std::ptrdiff_t(from),
                      out.begin() + std::ptrdiff_t(from + count));
            break;
        }
        case 5: { // repeat a chunk
            if (out.empty() || out.size() > (1u << 20))
                break;
            std::size_t from = pick(out.size());
            std::size_t count = 1 + pick(std::min<std::size_t>(256, out.size() - from));
            Bytes chunk(out.begin() + std::ptrdiff_t(from),
                        out.begin() + std::ptrdiff_t(from + count));
            out.insert(out.begin() + std::ptrdiff_t(from), chunk.begin(), chunk.end());
            break;
        }
        default: { // splice: the head of this one, the tail of the other
            std::size_t head = pick(out.size() + 1);
            std::size_t tail = pick(other.size() + 1);
            out.resize(head);
            out.insert(out.end(), other.begin() + std::ptrdiff_t(tail), other.end());
            break;
        }
        }
    }
    return out;
}

} // namespace

int main(int argc, char** argv) {
    if (LLVMFuzzerInitialize != nullptr)
        LLVMFuzzerInitialize(&argc, &argv);
    long mutations = 0;
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--mutations" && i + 1 < argc) {
            mutations = std::strtol(argv[++i], nullptr, 10);
            continue;
        }
        std::filesystem::path path(arg);
        if (std::filesystem::is_directory(path)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
                if (entry.is_regular_file())
                    files.push_back(entry.path());
        } else if (std::filesystem::is_regular_file(path)) {
            files.push_back(path);
        } else {
            std::fprintf(stderr, "replay: no such seed file or folder: %s\n", arg.c_str());
            return 2;
        }
    }
    if (files.empty()) {
        std::fprintf(stderr, "replay: no seeds given\n");
        return 2;
    }
    std::sort(files.begin(), files.end()); // the same order, so the same mutations, every run
    std::vector<Bytes> seeds;
    for (const auto& file : files)
        seeds.push_back(ReadFile(file));
    for (const auto& seed : seeds)
        Run(seed);
    std::mt19937_64 random(20261123);
    for (long i = 0; i < mutations; ++i) {
        const Bytes& seed = seeds[std::size_t(i) % seeds.size()];
        const Bytes& other = seeds[random() % seeds.size()];
        Run(Mutate(seed, other, random));
    }
    std::printf("replay: %zu seeds, %ld mutations, no fault\n", seeds.size(), mutations);
    return 0;
}
