// Rows of a benchmark: one operation at one size, and all that can do it.
//
//     CRow("equal", 16)
//         .Add("ours", [a, b] { return a == b; })
//         .Add("memcmp", [x, y] { return std::memcmp(x, y, 16) == 0; })
//         .Limit("read", ReadLimit(32));
//
// Each contestant becomes a benchmark named <row>/<size>/<who>; that is what benchmarks/table.py pairs. Before anything
// is timed, the body of each runs once, and its result must be that of the row's first contestant: a peer that does
// something else is no peer.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>

#include "support/fingerprint.h"

namespace Bench
{

// Does every benchmark run a single time (--once)? The tests do that; nobody looks at the times.
bool Once();

// To be defined by each topic: registers its rows.
void RegisterRows();

// Is this a process of its own for one figure of memory (--figure)? Then nothing runs but that.
bool IsForFigure();

// A figure of memory: found out in a process of its own, which has not used any yet.
void RegisterFigure(const std::string &name, std::function<double()> measure);
double FigureOfFreshProcess(const std::string &name);

// Ends the program when something does not hold, naming it.
void Check(bool holds, const std::string &what);

class CRow
{
public:
    CRow(std::string name, size_t size) : m_Name(std::move(name) + '/' + std::to_string(size) + '/') {}

    // A contestant whose result must be that of the others. The result of the body is destroyed within the time.
    template <typename Body>
    CRow &Add(const char *who, Body body)
    {
        if (!IsForFigure())
            _Compare(who, Fingerprint(body()));
        return Other(who, std::move(body));
    }

    // A contestant whose input has to be made anew each time, which is not timed. For bodies of some microseconds and
    // more: stopping the clock takes a while too.
    template <typename Prepare, typename Body>
    CRow &AddPrepared(const char *who, Prepare prepare, Body body)
    {
        if (!IsForFigure())
        {
            auto input = prepare();
            _Compare(who, Fingerprint(body(input)));
        }
        const auto run = [prepare = std::move(prepare), body = std::move(body)](benchmark::State &state) mutable
        {
            for (auto _ : state)
            {
                state.PauseTiming();
                auto fresh = prepare();
                benchmark::ClobberMemory();
                state.ResumeTiming();
                benchmark::DoNotOptimize(body(fresh));
                state.PauseTiming();
                {
                    const auto dropped = std::move(fresh);
                }
                state.ResumeTiming();
            }
        };
        _Register(who, run);
        return *this;
    }

    // A contestant whose result is its own business.
    template <typename Body>
    CRow &Other(const char *who, Body body)
    {
        _Register(who, _Loop(std::move(body)));
        return *this;
    }

    // Another operation of ours, to compare this one with; no peer: only goals that name it judge by it.
    template <typename Body>
    CRow &Otherwise(const char *what, Body body)
    {
        return Other((std::string("ours:") + what).c_str(), std::move(body));
    }

    // The same body on several threads at once, which share what it has captured.
    template <typename Body>
    CRow &AddThreads(const char *who, int threads, Body body)
    {
        if (!IsForFigure())
            _Compare(who, Fingerprint(body()));
        _Register(who, _Loop(std::move(body)))->Threads(threads)->UseRealTime();
        return *this;
    }

    // What the machine allows, in the same program.
    template <typename Body>
    CRow &Limit(const char *what, Body body)
    {
        return Other((std::string("limit:") + what).c_str(), std::move(body));
    }

    template <typename Body>
    CRow &LimitThreads(const char *what, int threads, Body body)
    {
        _Register((std::string("limit:") + what).c_str(), _Loop(std::move(body)))->Threads(threads)->UseRealTime();
        return *this;
    }

    // A figure that is not a time: "bytes" in the table. It is measured in a process of its own.
    CRow &AddBytes(const char *who, std::function<double()> measure)
    {
        RegisterFigure(m_Name + who, std::move(measure));
        return Bytes(who, [name = m_Name + who] { return FigureOfFreshProcess(name); });
    }

    // The same, measured where it is.
    template <typename Measure>
    CRow &Bytes(const char *who, Measure measure)
    {
        const auto run = [measure](benchmark::State &state)
        {
            for (auto _ : state)
                state.counters["bytes"] = measure();
        };
        _Register(who, run)->Iterations(1);
        return *this;
    }

private:
    template <typename Body>
    static auto _Loop(Body body)
    {
        return [body = std::move(body)](benchmark::State &state) mutable
        {
            for (auto _ : state)
            {
                // Whatever the body looks at may have changed.
                benchmark::ClobberMemory();
                auto &&result = body();
                benchmark::DoNotOptimize(result);
            }
        };
    }

    template <typename Run>
    benchmark::internal::Benchmark *_Register(const char *who, Run run)
    {
        auto *const made = benchmark::RegisterBenchmark((m_Name + who).c_str(), std::move(run));
        if (Once())
            made->Iterations(1)->Repetitions(1);
        return made;
    }

    void _Compare(const char *who, uint64_t fingerprint)
    {
        if (m_First.empty())
        {
            m_First = who;
            m_Fingerprint = fingerprint;
        }
        Check(fingerprint == m_Fingerprint, m_Name + who + ": another result than " + m_First);
    }

    std::string m_Name;
    std::string m_First;
    uint64_t m_Fingerprint = 0;
};

} // namespace Bench
