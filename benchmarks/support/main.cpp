// The main function of every topic.
//
//     bench_<topic> [--once] [Google Benchmark's options]
//     bench_<topic> --figure=<name>
//
// --once runs every benchmark a single time, whatever else is said. --figure prints one figure of memory; the program
// calls itself with it.
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <thread>

#include "support/row.h"

namespace Bench
{

namespace
{

const char kFigureOption[] = "--figure=";

bool once = false;
std::string program;
std::string figure;
std::map<std::string, std::function<double()>> figures;

// Takes our own options out of the arguments.
void TakeOptions(int &argc, char **argv)
{
    program = argv[0];
    int kept = 0;
    for (int i = 0; i < argc; ++i)
    {
        if (std::strcmp(argv[i], "--once") == 0)
            once = true;
        else if (std::strncmp(argv[i], kFigureOption, sizeof(kFigureOption) - 1) == 0)
            figure = argv[i] + sizeof(kFigureOption) - 1;
        else
            argv[kept++] = argv[i];
    }
    argc = kept;
}

int PrintFigure()
{
    const auto found = figures.find(figure);
    Check(found != figures.end(), figure + ": no such figure");
    std::printf("%.0f\n", found->second());
    return 0;
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

bool IsForFigure()
{
    return !figure.empty();
}

void RegisterFigure(const std::string &name, std::function<double()> measure)
{
    figures[name] = std::move(measure);
}

double FigureOfFreshProcess(const std::string &name)
{
    const std::string command = "'" + program + "' '" + kFigureOption + name + "'";
    std::FILE *const output = popen(command.c_str(), "r");
    Check(output != nullptr, command + ": cannot be started");
    double value = 0;
    const bool isRead = std::fscanf(output, "%lf", &value) == 1;
    Check(pclose(output) == 0 && isRead, command + ": failed");
    return value;
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
    Bench::TakeOptions(argc, argv);
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
    if (Bench::IsForFigure())
        return Bench::PrintFigure();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
