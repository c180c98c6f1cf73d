// What the test of the mutants' runner mutates. Numbers are in sample_tests.cpp's expectations by what stands here.
#pragma once

namespace Sample
{

int Clamped(int value, int most);
bool IsBetween(int value, int least, int most);
unsigned CountBits(unsigned value);
int NobodyAsks(int value);

} // namespace Sample
