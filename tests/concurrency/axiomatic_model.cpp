// The axioms: every read from every write, every order of the writes, and then what must not be.
#include "axiomatic_model.h"

#include <algorithm>
#include <random>
#include <utility>

namespace QuorvaneTest::Concurrency
{

namespace
{

constexpr u32 kMaxNodes = 24;
constexpr u32 kInitial = ~0u;

// A relation between nodes.
class CRelation
{
public:
    bool Has(u32 from, u32 to) const { return m_Rows[from][to]; }
    void Add(u32 from, u32 to) { m_Rows[from][to] = true; }

    void Close(u32 nodes)
    {
        for (u32 by = 0; by < nodes; ++by)
            for (u32 from = 0; from < nodes; ++from)
                for (u32 to = 0; m_Rows[from][by] && to < nodes; ++to)
                    m_Rows[from][to] = m_Rows[from][to] || m_Rows[by][to];
    }

    bool IsIrreflexive(u32 nodes) const
    {
        for (u32 node = 0; node < nodes; ++node)
            if (m_Rows[node][node])
                return false;
        return true;
    }

private:
    bool m_Rows[kMaxNodes][kMaxNodes] = {};
};

// A read or a write. The two of a read-modify-write follow each other.
struct SNode
{
    SStep m_Step;
    u32 m_Thread;
    u32 m_Index;
    bool m_IsWrite;
    bool m_IsHalf; // of a read-modify-write
    u64 m_Value = 0;
    u32 m_Source = kInitial;
};

class CCandidate
{
public:
    // With a source for each step that reads: the number of a step that writes, counted through all threads, or kInitial.
    CCandidate(const std::vector<SSteps> &threads, const std::vector<u32> &sources);

    // Adds the signatures of all orders of the writes that are allowed.
    void AddAllowed(std::set<std::vector<u32>> &signatures);

private:
    static constexpr u32 kWords = 2;

    bool _FindValues();
    void _AddNodes();
    void _AddOrders(u32 word, std::set<std::vector<u32>> &signatures);
    bool _IsAllowed() const;
    bool _IsAtomic() const;
    bool _HasOneOrder(const CRelation &before) const;
    CRelation _HappensBefore() const;
    void _Release(u32 write, u32 from, CRelation &relation) const;
    bool _ComesBefore(u32 a, u32 b) const;
    std::vector<u32> _Signature() const;

    std::vector<SNode> m_Steps;   // one for each step
    std::vector<bool> m_HasWrite; // a step that has not failed
    std::vector<bool> m_HasRead;
    std::vector<SNode> m_Nodes;
    std::vector<u32> m_NodeOfWrite; // by step
    std::vector<u32> m_Orders[kWords];
    bool m_IsPossible;
};

CCandidate::CCandidate(const std::vector<SSteps> &threads, const std::vector<u32> &sources)
{
    for (u32 thread = 0; thread < threads.size(); ++thread)
        for (const SStep &step : threads[thread])
        {
            m_Steps.push_back({step, thread, 0, false, false, 0, sources[m_Steps.size()]});
            m_HasRead.push_back(step.m_Access != Access_Store);
            m_HasWrite.push_back(step.m_Access != Access_Load);
        }
    m_IsPossible = _FindValues();
    if (m_IsPossible)
        _AddNodes();
}

// A value depends on the step that is read, and with a compare-exchange there is a write or not. False where a step would
// depend on itself, or read what is not written.
bool CCandidate::_FindValues()
{
    CRelation depends;
    for (u32 a = 0; a < m_Steps.size(); ++a)
        for (u32 b = 0; b < m_Steps.size(); ++b)
            if ((a < b && m_Steps[a].m_Thread == m_Steps[b].m_Thread) || (m_HasRead[b] && m_Steps[b].m_Source == a))
                depends.Add(a, b);
    depends.Close(static_cast<u32>(m_Steps.size()));
    if (!depends.IsIrreflexive(static_cast<u32>(m_Steps.size())))
        return false;
    // What a step writes, in an order in which none comes before what it depends on.
    std::vector<u64> written(m_Steps.size(), 0);
    for (size_t round = 0; round < m_Steps.size(); ++round)
        for (u32 number = 0; number < m_Steps.size(); ++number)
        {
            SNode &node = m_Steps[number];
            const SStep &step = node.m_Step;
            node.m_Value = node.m_Source == kInitial ? 0 : written[node.m_Source];
            written[number] = step.m_Access == Access_Add ? node.m_Value + step.m_Value : step.m_Value;
            if (step.m_Access == Access_CompareExchange)
                m_HasWrite[number] = node.m_Value == step.m_Expected;
        }
    for (u32 number = 0; number < m_Steps.size(); ++number)
        if (m_HasRead[number] && m_Steps[number].m_Source != kInitial && !m_HasWrite[m_Steps[number].m_Source])
            return false;
    return true;
}

void CCandidate::_AddNodes()
{
    m_NodeOfWrite.assign(m_Steps.size(), kInitial);
    std::vector<u32> counts(kMaxThreads, 0);
    for (u32 number = 0; number < m_Steps.size(); ++number)
    {
        SNode node = m_Steps[number];
        node.m_IsHalf = m_HasRead[number] && m_HasWrite[number];
        if (m_HasRead[number])
        {
            node.m_Index = counts[node.m_Thread]++;
            m_Nodes.push_back(node);
        }
        if (!m_HasWrite[number])
            continue;
        node.m_IsWrite = true;
        node.m_Index = counts[node.m_Thread]++;
        m_NodeOfWrite[number] = static_cast<u32>(m_Nodes.size());
        m_Orders[node.m_Step.m_Word].push_back(m_NodeOfWrite[number]);
        m_Nodes.push_back(node);
    }
    for (SNode &node : m_Nodes)
        if (!node.m_IsWrite && node.m_Source != kInitial)
            node.m_Source = m_NodeOfWrite[node.m_Source];
}

void CCandidate::AddAllowed(std::set<std::vector<u32>> &signatures)
{
    if (m_IsPossible)
        _AddOrders(0, signatures);
}

void CCandidate::_AddOrders(u32 word, std::set<std::vector<u32>> &signatures)
{
    if (word == kWords)
    {
        if (_IsAllowed())
            signatures.insert(_Signature());
        return;
    }
    std::sort(m_Orders[word].begin(), m_Orders[word].end());
    do
        _AddOrders(word + 1, signatures);
    while (std::next_permutation(m_Orders[word].begin(), m_Orders[word].end()));
}

// Whether one node comes before another on the same word: what it has read or written, in the modification order.
bool CCandidate::_ComesBefore(u32 a, u32 b) const
{
    const std::vector<u32> &order = m_Orders[m_Nodes[a].m_Step.m_Word];
    const auto rankOf = [&](u32 node)
    {
        const u32 write = m_Nodes[node].m_IsWrite ? node : m_Nodes[node].m_Source;
        return write == kInitial ? -1 : std::find(order.begin(), order.end(), write) - order.begin();
    };
    if (rankOf(a) != rankOf(b))
        return rankOf(a) < rankOf(b);
    return m_Nodes[a].m_IsWrite && !m_Nodes[b].m_IsWrite;
}

// Makes everything that acquires what a write has released, or the read-modify-writes that follow it have, come after it.
void CCandidate::_Release(u32 write, u32 from, CRelation &relation) const
{
    for (u32 read = 0; read < m_Nodes.size(); ++read)
    {
        if (m_Nodes[read].m_IsWrite || m_Nodes[read].m_Source != write)
            continue;
        if (Acquires(m_Nodes[read].m_Step.m_Order))
            relation.Add(from, read);
        if (m_Nodes[read].m_IsHalf)
            _Release(read + 1, from, relation);
    }
}

CRelation CCandidate::_HappensBefore() const
{
    CRelation before;
    for (u32 a = 0; a < m_Nodes.size(); ++a)
    {
        for (u32 b = a + 1; b < m_Nodes.size(); ++b)
            if (m_Nodes[a].m_Thread == m_Nodes[b].m_Thread)
                before.Add(a, b);
        if (m_Nodes[a].m_IsWrite && Releases(m_Nodes[a].m_Step.m_Order))
            _Release(a, a, before);
    }
    before.Close(static_cast<u32>(m_Nodes.size()));
    return before;
}

bool CCandidate::_IsAtomic() const
{
    for (u32 node = 0; node < m_Nodes.size(); ++node)
    {
        if (!m_Nodes[node].m_IsWrite || !m_Nodes[node].m_IsHalf)
            continue;
        const std::vector<u32> &order = m_Orders[m_Nodes[node].m_Step.m_Word];
        const size_t place = static_cast<size_t>(std::find(order.begin(), order.end(), node) - order.begin());
        if (m_Nodes[node - 1].m_Source != (place == 0 ? kInitial : order[place - 1]))
            return false;
    }
    return true;
}

// Coherence: what comes before on a word does not happen after; nothing happens before itself. Nodes that read one write
// have no order.
bool CCandidate::_IsAllowed() const
{
    const CRelation before = _HappensBefore();
    const u32 nodes = static_cast<u32>(m_Nodes.size());
    if (!before.IsIrreflexive(nodes) || !_IsAtomic())
        return false;
    for (u32 a = 0; a < nodes; ++a)
        for (u32 b = 0; b < nodes; ++b)
            if (m_Nodes[a].m_Step.m_Word == m_Nodes[b].m_Step.m_Word && _ComesBefore(a, b) && before.Has(b, a))
                return false;
    return _HasOneOrder(before);
}

// The edges of execution_graph_order.cpp, drawn one by one between the nodes, where both halves of a read-modify-write are
// one.
bool CCandidate::_HasOneOrder(const CRelation &before) const
{
    const u32 nodes = static_cast<u32>(m_Nodes.size());
    const auto isOfOrder = [&](u32 node) { return m_Nodes[node].m_Step.m_Order == Order_Sequential; };
    const auto isElsewhere = [&](u32 a, u32 b)
    { return m_Nodes[a].m_Thread == m_Nodes[b].m_Thread && m_Nodes[a].m_Step.m_Word != m_Nodes[b].m_Step.m_Word; };
    const auto whole = [&](u32 node) { return m_Nodes[node].m_IsHalf && m_Nodes[node].m_IsWrite ? node - 1 : node; };
    CRelation order;
    for (u32 a = 0; a < nodes; ++a)
        for (u32 b = 0; b < nodes; ++b)
        {
            if (!isOfOrder(a) || !isOfOrder(b) || whole(a) == whole(b))
                continue;
            const bool onOneWord = m_Nodes[a].m_Step.m_Word == m_Nodes[b].m_Step.m_Word;
            const bool inProgram = m_Nodes[a].m_Thread == m_Nodes[b].m_Thread && a < b;
            const bool isRead = onOneWord && m_Nodes[a].m_IsWrite && !m_Nodes[b].m_IsWrite && m_Nodes[b].m_Source == a;
            const bool isOverwritten = onOneWord && m_Nodes[b].m_IsWrite && _ComesBefore(a, b);
            bool isElsewhereBefore = false;
            for (u32 c = a + 1; c < nodes; ++c)
                for (u32 d = 0; d < b; ++d)
                    isElsewhereBefore =
                        isElsewhereBefore || (isElsewhere(a, c) && isElsewhere(b, d) && before.Has(c, d));
            if (inProgram || isRead || isOverwritten || isElsewhereBefore)
                order.Add(whole(a), whole(b));
        }
    order.Close(nodes);
    return order.IsIrreflexive(nodes);
}

std::vector<u32> CCandidate::_Signature() const
{
    const auto asNumber = [&](u32 node)
    { return node == kInitial ? kMaxThreads << 16 : m_Nodes[node].m_Thread << 16 | m_Nodes[node].m_Index; };
    std::vector<u32> signature;
    for (const SNode &node : m_Nodes)
        signature.push_back(node.m_IsWrite ? ~0u : asNumber(node.m_Source));
    for (const std::vector<u32> &order : m_Orders)
        for (const u32 write : order)
            signature.push_back(asNumber(write));
    return signature;
}

} // namespace

std::set<std::vector<u32>> ExecutionsByAxioms(const std::vector<SSteps> &threads)
{
    std::vector<SStep> steps;
    for (const SSteps &thread : threads)
        steps.insert(steps.end(), thread.begin(), thread.end());
    // The sources that each step could have, and all choices of one of each.
    std::vector<std::vector<u32>> choices(steps.size(), std::vector<u32>(1, kInitial));
    for (u32 read = 0; read < steps.size(); ++read)
        for (u32 write = 0; write < steps.size(); ++write)
            if (steps[read].m_Access != Access_Store && steps[write].m_Access != Access_Load && read != write &&
                steps[read].m_Word == steps[write].m_Word)
                choices[read].push_back(write);
    std::set<std::vector<u32>> signatures;
    std::vector<u32> chosen(steps.size(), 0);
    for (bool isDone = false; !isDone;)
    {
        std::vector<u32> sources;
        for (u32 i = 0; i < steps.size(); ++i)
            sources.push_back(choices[i][chosen[i]]);
        CCandidate(threads, sources).AddAllowed(signatures);
        u32 i = 0;
        while (i < steps.size() && ++chosen[i] == choices[i].size())
            chosen[i++] = 0;
        isDone = i == steps.size();
    }
    return signatures;
}

namespace
{

// Some programs have modifications only, or one order for everything: what these lead to is seldom met otherwise.
SStep StepByChance(std::mt19937 &random, u32 words, bool modifies, bool isInOrder)
{
    constexpr EOrder kOrders[] = {Order_Relaxed, Order_Acquire, Order_Release, Order_AcquireRelease, Order_Sequential};
    constexpr EOrder kOfLoads[] = {Order_Relaxed, Order_Acquire, Order_Sequential};
    constexpr EOrder kOfStores[] = {Order_Relaxed, Order_Release, Order_Sequential};
    const u32 word = static_cast<u32>(random() % words);
    const u32 value = 1 + static_cast<u32>(random() % 3);
    const auto orderOf = [&](const EOrder *orders, u32 count)
    { return isInOrder ? Order_Sequential : orders[random() % count]; };
    switch (modifies ? 2 + random() % 2 : random() % 4)
    {
    case 0:
        return Load(word, orderOf(kOfLoads, 3));
    case 1:
        return Store(word, value, orderOf(kOfStores, 3));
    case 2:
        return Add(word, value, orderOf(kOrders, 5));
    default:
        return CompareExchange(word, random() % 3, value, orderOf(kOrders, 5));
    }
}

} // namespace

std::vector<SSteps> StepsByChance(u32 seed, u32 maxSteps)
{
    std::mt19937 random(seed);
    std::vector<SSteps> threads(2 + random() % 2);
    const u32 words = 1 + static_cast<u32>(random() % 2);
    const bool modifies = random() % 3 == 0;
    const bool isInOrder = random() % 4 == 0;
    const u32 steps = static_cast<u32>(threads.size() + random() % (maxSteps + 1 - threads.size()));
    for (u32 i = 0; i < steps; ++i)
        threads[i < threads.size() ? i : random() % threads.size()].push_back(
            StepByChance(random, words, modifies, isInOrder));
    return threads;
}

bool AgreesWithAxioms(const std::vector<SSteps> &threads, u64 &executions)
{
    CStepProgram program(threads);
    const SOutcome outcome = Explore(program);
    const std::set<std::vector<u32>> explored(program.Signatures().begin(), program.Signatures().end());
    executions += outcome.m_Executions;
    return outcome.m_Fault.empty() && explored.size() == outcome.m_Executions &&
           explored == ExecutionsByAxioms(threads);
}

} // namespace QuorvaneTest::Concurrency
