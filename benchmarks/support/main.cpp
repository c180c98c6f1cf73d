// The main function of every topic.
//
//     bench_<topic> [--once] [Google Benchmark's options]
//
// --once runs every benchmark a single time, whatever else is said.
#include <cstdio>
#include <cstring>
#include <thread>

#include "support/row.h"

namespace Bench
{

namespace
{

bool once = false;

// Takes --once out of the arguments.
void TakeOnce(int &argc, char **argv)
{
    int kept = 0;
    for (int i = 0; i < argc; ++i)
    {
        if (std::strcmp(argv[i], "--once") == 0)
            once = true;
        else
            argv[kept++] = argv[i];
    }
    argc = kept;
}

// Some libraries leave out their atomic operations as long as a process has never had a second thread. The programs
// that strings like ours are for have many.
void BecomeThreaded()
{
    std::thread([] {}).join();
}

} // namespace

bool Once()
{
    return once;
}

void Check(bool holds, const std::string &what)
{
    if (holds)
        return;
    std::fprintf(stderr, "%s\n", what.c_str());
    std::exit(1);
}

} // namespace Bench

int main(int argc, char **argv)
{
    Bench::TakeOnce(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    Bench::BecomeThreaded();
    benchmark::RegisterBenchmark("nothing/0/baseline",
                                 [](benchmark::State &state)
                                 {
                                     for (auto _ : state)
                                         benchmark::ClobberMemory();
                                 })
        ->Iterations(Bench::Once() ? 1 : 1000000);
    Bench::RegisterRows();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
