// How long something takes.
#pragma once

#include <chrono>

namespace AssetFinder
{

class CStopwatch
{
public:
    // Since it was made.
    double Seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_Start).count(); }

private:
    const std::chrono::steady_clock::time_point m_Start = std::chrono::steady_clock::now();
};

} // namespace AssetFinder
