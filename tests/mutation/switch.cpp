// What mutants.h declares, which every source of such a build has in front: part of the library there, so that every
// program that is linked with it obeys
//
//     QV_MUTANT=NUMBER           the mutant that is active from the start
//     QV_MUTANT_REACHED=FILE     a file as long as g_Reached, which is that array from the start on: what the program, and
//                                those that it starts, have reached stands in it
#include <cstdlib>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace qv_mutants
{

unsigned g_Active = 0;
// Pages of its own, which copies of a process share while what they reach is noted.
alignas(4096) unsigned char g_Reached[2 * kMostMutants];

namespace
{

__attribute__((constructor(101))) void ReadEnvironment()
{
    if (const char *const number = std::getenv("QV_MUTANT"))
        g_Active = static_cast<unsigned>(std::strtoul(number, nullptr, 10));
    const char *const path = std::getenv("QV_MUTANT_REACHED");
    const int file = path != nullptr ? open(path, O_RDWR) : -1;
    if (file < 0)
        return;
    if (mmap(g_Reached, sizeof g_Reached, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) == MAP_FAILED)
        std::abort();
    close(file);
}

} // namespace

} // namespace qv_mutants
