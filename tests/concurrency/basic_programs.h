// Small programs with one mistake each, or none, by which the checker itself is tested.
#pragma once

#include <memory>

#include "checker.h"

namespace QuorvaneTest::Concurrency
{

std::unique_ptr<CProgram> MakeFreedTwice();
std::unique_ptr<CProgram> MakeFreedWhatIsNoBlock();
std::unique_ptr<CProgram> MakeUsedAfterFree();
std::unique_ptr<CProgram> MakeReadBehindItsBlock();
std::unique_ptr<CProgram> MakeNeverFreed();
std::unique_ptr<CProgram> MakePlainCounter();
std::unique_ptr<CProgram> MakeAtomicAndPlain();      // one word, by an atomic store and by a plain read
std::unique_ptr<CProgram> MakeCopyOfWhatIsWritten(); // a plain read by memcpy
std::unique_ptr<CProgram> MakeReportedAssertion();
std::unique_ptr<CProgram> MakeWaitForNobody();
std::unique_ptr<CProgram> MakeOtherStepsEachTime();
std::unique_ptr<CProgram> MakeFence();
std::unique_ptr<CProgram> MakeRelaxedMessage();

// These are right.
std::unique_ptr<CProgram> MakeMessage();              // a plain word, published by a release and an acquire
std::unique_ptr<CProgram> MakeSpinLock();             // that two threads wait for, and a plain counter under it
std::unique_ptr<CProgram> MakeWordThatBeginsAnew();   // memory that becomes another atomic word, handed on
std::unique_ptr<CProgram> MakeEveryAtomicOperation(); // on words of all sizes, by one thread

} // namespace QuorvaneTest::Concurrency
