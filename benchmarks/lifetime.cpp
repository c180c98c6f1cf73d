// Making a text, sharing it, and letting go of it: by size, from two threads, and in memory.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "support/limits.h"
#include "support/plain_texts.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

typedef std::shared_ptr<const std::string> SharedText;

#if QV_BENCH_BOOST
// A counted text as people write it with boost.
struct SCountedText : boost::intrusive_ref_counter<SCountedText, boost::thread_safe_counter>
{
    explicit SCountedText(const std::string &characters) : m_Characters(characters) {}

    std::string m_Characters;
};

typedef boost::intrusive_ptr<const SCountedText> CountedText;

uint64_t Fingerprint(const CountedText &text)
{
    return Bench::Fingerprint(text->m_Characters);
}
#endif

void AddCreation(size_t size)
{
    const std::string from = Words(size);
    const auto text = [from] { return from.data(); };
    CRow row("create_destroy", size);
    row.Add("ours", [text, size] { return CString(text(), static_cast<u32>(size)); });
    row.Add("std::string", [text, size] { return std::string(text(), size); });
    row.Add("std::shared_ptr", [text, size] { return SharedText(std::make_shared<const std::string>(text(), size)); });
    row.Add("counted_block", [text, size] { return CCountedText(text(), size); });
#if QV_BENCH_ABSL
    row.Add("absl::Cord", [text, size] { return absl::Cord(absl::string_view(text(), size)); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::string", [text, size] { return boost::container::string(text(), size); });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [text, size] { return QByteArray(text(), static_cast<int>(size)); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(size + 1));
}

void AddSharing(size_t size)
{
    const std::string from = Words(size);
    CRow row("copy_destroy", size);
    row.Add("ours", [text = CString(from.c_str())] { return CString(text); });
    row.Add("std::string", [from] { return std::string(from); });
    row.Add("std::shared_ptr", [text = std::make_shared<const std::string>(from)] { return SharedText(text); });
    row.Add("counted_block", [text = CCountedText(from.data(), size)] { return CCountedText(text); });
#if QV_BENCH_ABSL
    row.Add("absl::Cord", [text = absl::Cord(from)] { return absl::Cord(text); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::string",
            [text = boost::container::string(from.data(), from.size())] { return boost::container::string(text); });
    row.Add("boost::intrusive_ptr", [text = CountedText(new SCountedText(from))] { return CountedText(text); });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [text = QByteArray::fromStdString(from)] { return QByteArray(text); });
#endif
    row.Limit("atomic_pair", AtomicPairLimit());
}

// A handle of a text that others have, too, and then one character more: the text has to be copied.
void AddCopyWithOneMore(size_t size)
{
    const std::string from = Words(size);
    CRow row("copy_append_1", size);
    const auto add = [&row](const char *who, auto text, auto append)
    {
        row.Add(who,
                [text = std::move(text), append]
                {
                    auto copy = text;
                    append(copy);
                    return copy;
                });
    };
    add("ours", CString(from.c_str()), [](CString &text) { text.Append('x'); });
    add("std::string", from, [](std::string &text) { text.push_back('x'); });
    row.Add("std::string+reserve",
            [from]
            {
                std::string copy;
                copy.reserve(from.size() + 1);
                copy += from;
                copy.push_back('x');
                return copy;
            });
    add("counted_block", CCountedText(from.data(), size), [](CCountedText &text) { text.Append('x'); });
#if QV_BENCH_ABSL
    add("absl::Cord", absl::Cord(from), [](absl::Cord &text) { text.Append(absl::string_view("x", 1)); });
#endif
#if QV_BENCH_BOOST
    add("boost::string", boost::container::string(from.data(), from.size()),
        [](boost::container::string &text) { text.push_back('x'); });
#endif
#if QV_BENCH_QT
    add("QByteArray", QByteArray::fromStdString(from), [](QByteArray &text) { text.append('x'); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(size + 2));
}

// Handles of one text, copied and dropped by two threads: the row's size is the number of threads.
void AddThreads()
{
    const std::string from = Words(24);
    CRow row("copy_destroy_threads", 2);
    row.AddThreads("ours", 2, [text = CString(from.c_str())] { return CString(text); });
    row.AddThreads("std::shared_ptr", 2,
                   [text = std::make_shared<const std::string>(from)] { return SharedText(text); });
    row.AddThreads("counted_block", 2, [text = CCountedText(from.data(), from.size())] { return CCountedText(text); });
#if QV_BENCH_BOOST
    row.AddThreads("boost::intrusive_ptr", 2,
                   [text = CountedText(new SCountedText(from))] { return CountedText(text); });
#endif
#if QV_BENCH_QT
    row.AddThreads("QByteArray", 2, [text = QByteArray::fromStdString(from)] { return QByteArray(text); });
#endif
    row.LimitThreads("atomic_pair", 2, AtomicPairLimit());
}

// A thousand texts that live at once, as most texts do: a cache of the last few blocks does not do.
void AddCreationOfMany()
{
    constexpr size_t kCount = 1000;
    const std::string from = Words(24);
    CRow row("create_destroy_many", kCount);
    const auto add = [&row](const char *who, auto make)
    {
        row.Add(who,
                [make]
                {
                    std::vector<decltype(make())> texts;
                    texts.reserve(kCount);
                    for (size_t i = 0; i < kCount; ++i)
                        texts.push_back(make());
                    return texts;
                });
    };
    const auto text = [from] { return from.data(); };
    add("ours", [text] { return CString(text(), 24); });
    add("std::string", [text] { return std::string(text(), 24); });
    add("counted_block", [text] { return CCountedText(text(), 24); });
#if QV_BENCH_ABSL
    add("absl::Cord", [text] { return absl::Cord(absl::string_view(text(), 24)); });
#endif
#if QV_BENCH_BOOST
    add("boost::string", [text] { return boost::container::string(text(), 24); });
#endif
#if QV_BENCH_QT
    add("QByteArray", [text] { return QByteArray(text(), 24); });
#endif
    row.Limit("malloc+copy", MallocAndCopyManyLimit(std::vector<size_t>(kCount, 24)));
}

template <typename Text>
size_t LengthOf(const Text &text)
{
    return text.size();
}

size_t LengthOf(const CString &text)
{
    return text.Length();
}

size_t LengthOf(const SharedText &text)
{
    return text->size();
}

// Different texts of lengths that come in no order, each dropped before the next one is made: neither a branch predictor
// nor one warm block does.
void AddCreationOfMixed(size_t count)
{
    const std::vector<std::string> names = Names(count);
    std::vector<size_t> sizes;
    for (const std::string &name : names)
        sizes.push_back(name.size() + 1);
    CRow row("create_destroy_mixed", count);
    const auto add = [&row, &names](const char *who, auto make)
    {
        row.Add(who,
                [names, make]
                {
                    size_t total = 0;
                    for (const std::string &name : names)
                    {
                        auto text = make(name.data(), name.size());
                        benchmark::DoNotOptimize(text);
                        total += LengthOf(text);
                    }
                    return total;
                });
    };
    add("ours", [](const char *text, size_t size) { return CString(text, static_cast<u32>(size)); });
    add("std::string", [](const char *text, size_t size) { return std::string(text, size); });
    add("std::shared_ptr",
        [](const char *text, size_t size) { return SharedText(std::make_shared<const std::string>(text, size)); });
    add("counted_block", [](const char *text, size_t size) { return CCountedText(text, size); });
#if QV_BENCH_ABSL
    add("absl::Cord", [](const char *text, size_t size) { return absl::Cord(absl::string_view(text, size)); });
#endif
#if QV_BENCH_BOOST
    add("boost::string", [](const char *text, size_t size) { return boost::container::string(text, size); });
#endif
#if QV_BENCH_QT
    add("QByteArray", [](const char *text, size_t size) { return QByteArray(text, static_cast<int>(size)); });
#endif
    row.Limit("malloc+copy",
              [from = MakeBuffer(64), sizes]
              {
                  for (const size_t size : sizes)
                  {
                      char *const block = static_cast<char *>(std::malloc(size));
                      std::memcpy(block, from.get(), size);
                      benchmark::DoNotOptimize(block);
                      std::free(block);
                  }
                  return sizes.size();
              });
}

// Bytes of memory that the process has touched, files that it has mapped left out; 0 where nobody tells.
double BytesTouched()
{
    std::ifstream stream("/proc/self/smaps_rollup");
    for (std::string line; std::getline(stream, line);)
        if (line.compare(0, 10, "Anonymous:") == 0)
            return 1024 * std::strtod(line.c_str() + 10, nullptr);
    return 0;
}

// What that many texts and their handles take from the machine.
void AddMemory(size_t count)
{
    const auto from = std::make_shared<std::vector<std::string>>();
    CRandom random;
    for (size_t i = 0; i < count; ++i)
        from->push_back(random.Name(24));
    if (BytesTouched() == 0)
        return;
    CRow row("memory_24", count);
    const auto add = [&row, &from](const char *who, auto make)
    {
        row.AddBytes(who,
                     [from, make]
                     {
                         const double before = BytesTouched();
                         std::vector<decltype(make(from->front()))> texts;
                         texts.reserve(from->size());
                         for (const std::string &text : *from)
                             texts.push_back(make(text));
                         return BytesTouched() - before;
                     });
    };
    add("ours", [](const std::string &text) { return CString(text.c_str()); });
    add("std::string", [](const std::string &text) { return text; });
    add("std::shared_ptr", [](const std::string &text) { return std::make_shared<const std::string>(text); });
    add("counted_block", [](const std::string &text) { return CCountedText(text.data(), text.size()); });
#if QV_BENCH_ABSL
    add("absl::Cord", [](const std::string &text) { return absl::Cord(text); });
#endif
#if QV_BENCH_BOOST
    add("boost::string", [](const std::string &text) { return boost::container::string(text.data(), text.size()); });
    add("boost::intrusive_ptr", [](const std::string &text) { return CountedText(new SCountedText(text)); });
#endif
#if QV_BENCH_QT
    add("QByteArray", [](const std::string &text) { return QByteArray(text.data(), static_cast<int>(text.size())); });
#endif
    row.Bytes("limit:characters", [count] { return static_cast<double>(count * 24); });
}

} // namespace

void RegisterRows()
{
    for (const size_t size : {8u, 15u, 24u, 64u, 1024u})
        AddCreation(size);
    for (const size_t size : {24u, 64u, 256u, 1024u})
        AddSharing(size);
    for (const size_t size : {8u, 24u, 64u})
        AddCopyWithOneMore(size);
    AddThreads();
    AddCreationOfMany();
    AddCreationOfMixed(1024);
    AddMemory(100000);
}

} // namespace Bench
