// Tokenizing a script of 1 MB, line by line as the command runner and the highlighter do: the
// lines of a session that sets values, sets several at once, reads results and comments.

#include "commands/KovTokenExpressions.h"
#include "commands/KovTokenizer.h"

#include <benchmark/benchmark.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

std::vector<std::string> MakeScript(size_t bytes) {
    const char* lines[] = {
        "set Triaxial_1.Sigma3 -100.5",
        "setproperties Triaxial_1 (\"Sigma3\" -100 \"Drainage\" \"Undrained\" \"Steps\" 250)",
        "calculate Triaxial_1 # the second run",
        "tangent Triaxial_1.Results \"Eps1\" \"q\" 0.01 150.25",
        "set General_1.Phases[2].Duration 1.5e-3",
        "rename Oedometer_1 \"Oedometer_loose\"",
        "## a comment line of the command log, as written by the program",
        "filter Results_q 'gt' 50",
    };
    std::vector<std::string> script;
    size_t total = 0;
    for (size_t i = 0; total < bytes; ++i) {
        script.emplace_back(lines[i % std::size(lines)]);
        total += script.back().size() + 1;
    }
    return script;
}

void BM_TokenizeScript(benchmark::State& state) {
    const auto script = MakeScript(1 << 20);
    size_t bytes = 0;
    for (const auto& line : script)
        bytes += line.size() + 1;
    for (auto _ : state) {
        int tokens = 0;
        for (const auto& line : script) {
            const tw::TKovTokenizer tokenizer(line);
            tokens += tokenizer.TokenCount();
        }
        benchmark::DoNotOptimize(tokens);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_TokenizeScript)->Unit(benchmark::kMillisecond);

// The same with the folding into brackets, indexers and member chains that every run of a line
// does next.
void BM_TokenizeAndFoldScript(benchmark::State& state) {
    const auto script = MakeScript(1 << 20);
    size_t bytes = 0;
    for (const auto& line : script)
        bytes += line.size() + 1;
    for (auto _ : state) {
        int atoms = 0;
        for (const auto& line : script) {
            const tw::TKovTokenizer tokenizer(line);
            const tw::TKovTokenExpressionTool tool(tokenizer);
            atoms += tool.RootExpression().AtomCount();
        }
        benchmark::DoNotOptimize(atoms);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_TokenizeAndFoldScript)->Unit(benchmark::kMillisecond);

} // namespace
