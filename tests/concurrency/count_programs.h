// Programs that copy, read, write and drop what they share, through the library's own counts.
#pragma once

#include <memory>
#include <vector>

#include "checker.h"

namespace QuorvaneTest::Concurrency
{

// What a thread does with its own handle.
enum EOperation : u8
{
    Operation_Copy,    // a second handle, where it has none
    Operation_Release, // drops the second handle, or its own where there is none
    Operation_Read,    // everything
    Operation_Write,   // makes it its own, and writes all of it
    Operation_Publish, // exchanges the handle with what lies in the mailbox, where other threads find it
    Operation_Weak,    // a weak reference, and drops it
    Operation_Clear,   // of texts alone: empties it, in place where nobody shares it
    Operation_Append,  // of texts alone: a character; in place where nobody shares one that may grow
};

using SOperations = std::vector<EOperation>;

// A letter for each.
constexpr char kOperationLetters[] = "CDRWPKEA";

struct SSharing
{
    std::vector<SOperations> m_Threads;
    bool m_IsResizable = false; // the form of the text that all of them share at first
};

// Each thread has a handle of a text that all share. Reads must find what the thread knows of its text, and nothing else
// may have been written to it; in the end every block is freed.
// Requires: `sharing` outlives the program, and may change between explorations.
std::unique_ptr<CProgram> MakeStringProgram(const SSharing &sharing);

// The same with pointers to counted objects of a class of a program's own, whose destructor reads, writes, and takes
// references.
std::unique_ptr<CProgram> MakeObjectProgram(const SSharing &sharing);

// Mistakes that programs make with strings.
std::unique_ptr<CProgram> MakeOneHandleForTwoThreads();  // one assigns the handle that the other copies
std::unique_ptr<CProgram> MakeCheckThenWrite();          // writes since nobody shared it, before a copy was handed on
std::unique_ptr<CProgram> MakeViewThatOutlivesItsText(); // reads characters whose last handle another thread drops
std::unique_ptr<CProgram> MakePublicationWithoutOrder(); // hands a new text on with a relaxed store

} // namespace QuorvaneTest::Concurrency
