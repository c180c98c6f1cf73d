#include "kr_refptr.h"

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "child_process.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

class CNode : public CRefCountedObject
{
public:
    explicit CNode(int value = 0) : m_Value(value) { ++s_Alive; }
    ~CNode() override
    {
        --s_Alive;
        if (m_AtEnd)
            m_AtEnd();
    }

    int m_Value;
    TRefPtr<CNode> m_Next;
    std::function<void()> m_AtEnd;

    static int s_Alive;
};

int CNode::s_Alive = 0;

class CSpecialNode : public CNode
{
};

// Every test ends with all nodes gone.
class RefPtr : public ::testing::Test
{
protected:
    ~RefPtr() override { EXPECT_EQ(CNode::s_Alive, 0); }
};

// Reaches the counts, to start from where no test could count to.
class CExposedCounts : public CRefCountedObject
{
public:
    void SetRefCount(u32 count) { m_RefCount.Store(count); }
    const void *RefCountAddress() const { return &m_RefCount; }
    const void *WeakCountAddress() const { return &m_WeakCount; }
};

// Counted without a heap: the base alone deletes nothing.
class CCountedBase : public CRefCountedObjectBase
{
};

const TRefPtr<CNode> g_ConstantNull;

} // namespace

TEST(RefCountedObjectBase, BothCountsStartAt0)
{
    const CCountedBase counted;
    EXPECT_EQ(counted.RefCount(), 0u);
    EXPECT_EQ(counted.WeakCount(), 0u);
}

TEST(RefCountedObjectBase, AddReferenceAddsAStrongOne)
{
    const CCountedBase counted;
    counted.AddReference();
    counted.AddReference();
    EXPECT_EQ(counted.RefCount(), 2u);
    EXPECT_EQ(counted.WeakCount(), 0u);
}

TEST(RefCountedObjectBase, TheFirstReferenceMakesTheCount1)
{
    const CCountedBase counted;
    counted._AddFirstReference();
    EXPECT_EQ(counted.RefCount(), 1u);
}

TEST(RefCountedObjectBase, InternalRemoveReferenceReturnsTheNewCountAndDeletesNothing)
{
    const CAssertRecorder recorder;
    const CCountedBase counted;
    counted.AddReference();
    counted.AddReference();
    EXPECT_EQ(counted._InternalRemoveReference(), 1u);
    EXPECT_EQ(counted._InternalRemoveReference(), 0u);
    EXPECT_EQ(counted.RefCount(), 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(RefCountedObjectBase, InternalRemoveReferenceIsLastTellsTheLastOneAndDeletesNothing)
{
    const CAssertRecorder recorder;
    const CCountedBase counted;
    counted.AddReference();
    counted.AddReference();
    EXPECT_FALSE(counted._InternalRemoveReferenceIsLast());
    EXPECT_EQ(counted.RefCount(), 1u);
    EXPECT_TRUE(counted._InternalRemoveReferenceIsLast());
    EXPECT_EQ(counted.RefCount(), 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

namespace
{

void ExpectUnderflowReported(const CAssertRecorder &recorder)
{
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    EXPECT_EQ(recorder.Last().m_Expression, "s32(nrc) >= 0");
    EXPECT_EQ(recorder.Last().m_ExpandedExpression, "s32(nrc) >= 0");
    EXPECT_EQ(recorder.Last().m_Message, "/!\\ strong refcount underflow /!\\");
    EXPECT_NE(recorder.Last().m_Function.find("_InternalRemoveReference"), std::string::npos);
}

} // namespace

TEST(RefCountedObjectBase, AStrongUnderflowIsReported)
{
    const CCountedBase counted;
    {
        const CAssertRecorder recorder;
        EXPECT_EQ(counted._InternalRemoveReference(), 0xFFFFFFFFu);
        ExpectUnderflowReported(recorder);
    }
    const CCountedBase another;
    const CAssertRecorder recorder;
    EXPECT_FALSE(another._InternalRemoveReferenceIsLast());
    EXPECT_EQ(another.RefCount(), 0xFFFFFFFFu);
    ExpectUnderflowReported(recorder);
}

TEST(RefCountedObjectBase, AStrongOverflowIsReported)
{
    const CAssertRecorder recorder;
    CExposedCounts counted;
    counted.SetRefCount(0x7FFFFFFE);
    counted.AddReference();
    EXPECT_EQ(recorder.Count(), 0u);
    counted.AddReference();
    EXPECT_EQ(counted.RefCount(), 0x80000000u);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_Message, "/!\\ strong refcount overflow /!\\");
    }
}

TEST(RefCountedObjectBase, AReferenceThatMakesUpForAnUnderflowIsNotReported)
{
    const CAssertRecorder recorder;
    CExposedCounts counted;
    counted.SetRefCount(0xFFFFFFFF);
    counted.AddReference();
    EXPECT_EQ(counted.RefCount(), 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(RefCountedObjectBase, WeakReferencesAreCountedApart)
{
    const CAssertRecorder recorder;
    const CCountedBase counted;
    counted.AddWeakReference();
    counted.AddWeakReference();
    EXPECT_EQ(counted.WeakCount(), 2u);
    EXPECT_EQ(counted.RefCount(), 0u);
    counted.RemoveWeakReference();
    counted.RemoveWeakReference();
    EXPECT_EQ(counted.WeakCount(), 0u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(RefCountedObjectBase, AWeakUnderflowIsReported)
{
    const CAssertRecorder recorder;
    const CCountedBase counted;
    counted.RemoveWeakReference();
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    EXPECT_EQ(recorder.Last().m_Expression, "s32(nrc) >= 0");
    EXPECT_EQ(recorder.Last().m_Message, "/!\\ weak refcount underflow /!\\");
}

TEST(RefCountedObjectBase, ItIsPolymorphicAndNotCopyable)
{
    EXPECT_TRUE(std::has_virtual_destructor<CRefCountedObjectBase>::value);
    EXPECT_TRUE((std::is_base_of<CRefCountedObjectBase, CRefCountedObject>::value));
    EXPECT_FALSE(std::is_copy_constructible<CCountedBase>::value);
    EXPECT_FALSE(std::is_copy_assignable<CCountedBase>::value);
    EXPECT_FALSE(std::is_move_constructible<CCountedBase>::value);
    EXPECT_FALSE(std::is_copy_constructible<CNode>::value);
    EXPECT_FALSE(std::is_default_constructible<CRefCountedObjectBase>::value);
    EXPECT_FALSE(std::is_default_constructible<CRefCountedObject>::value);
}

TEST(RefCountedObjectBase, TheStrongCountStandsBeforeTheWeakOne)
{
    const CExposedCounts counted;
    const u8 *object = reinterpret_cast<const u8 *>(static_cast<const CRefCountedObjectBase *>(&counted));
    EXPECT_EQ(counted.RefCountAddress(), object + sizeof(void *));
    EXPECT_EQ(counted.WeakCountAddress(), object + sizeof(void *) + sizeof(u32));
    EXPECT_EQ(sizeof(CRefCountedObject), sizeof(void *) + 2 * sizeof(u32));
}

TEST_F(RefPtr, IsOnePointer)
{
    EXPECT_EQ(sizeof(TRefPtr<CNode>), sizeof(void *));
    EXPECT_TRUE((std::is_same<TRefPtr<CNode>, TBaseRefPtr<CNode, false>>::value));
    EXPECT_TRUE(TTypeTraits<TRefPtr<CNode>>::HasTrivialRelocate);
}

TEST_F(RefPtr, NeverThrows)
{
    typedef TRefPtr<CNode> PNode;
    EXPECT_TRUE(std::is_nothrow_default_constructible<PNode>::value);
    EXPECT_TRUE(std::is_nothrow_copy_constructible<PNode>::value);
    EXPECT_TRUE(std::is_nothrow_move_constructible<PNode>::value);
    EXPECT_TRUE(std::is_nothrow_copy_assignable<PNode>::value);
    EXPECT_TRUE(std::is_nothrow_move_assignable<PNode>::value);
}

TEST_F(RefPtr, DefaultConstructedItIsNull)
{
    const TRefPtr<CNode> pointer;
    EXPECT_EQ(pointer.Get(), nullptr);
    EXPECT_EQ(g_ConstantNull.Get(), nullptr);
}

TEST_F(RefPtr, ConstructionFromAPointerAddsAReference)
{
    CNode *const node = new CNode;
    const TRefPtr<CNode> pointer(node);
    EXPECT_EQ(pointer.Get(), node);
    EXPECT_EQ(node->RefCount(), 1u);
    const TRefPtr<CNode> another = node;
    EXPECT_EQ(node->RefCount(), 2u);
}

TEST_F(RefPtr, ConstructionFromNullIsNull)
{
    const TRefPtr<CNode> fromNull(null);
    EXPECT_EQ(fromNull.Get(), nullptr);
    const TRefPtr<CNode> fromNullPointer(static_cast<CNode *>(nullptr));
    EXPECT_EQ(fromNullPointer.Get(), nullptr);
}

TEST_F(RefPtr, AdoptionTakesOverAReferenceThatWasAdded)
{
    CNode *const node = new CNode;
    node->_AddFirstReference();
    {
        const TRefPtr<CNode> pointer(node, Internal::SAdoptReference());
        EXPECT_EQ(node->RefCount(), 1u);
        EXPECT_EQ(CNode::s_Alive, 1);
    }
    EXPECT_EQ(CNode::s_Alive, 0);
}

TEST_F(RefPtr, ACopyAddsAReference)
{
    const TRefPtr<CNode> pointer(new CNode);
    const TRefPtr<CNode> copy(pointer);
    EXPECT_EQ(copy.Get(), pointer.Get());
    EXPECT_EQ(pointer->RefCount(), 2u);
}

TEST_F(RefPtr, ACopyOfNullIsNull)
{
    const TRefPtr<CNode> pointer;
    const TRefPtr<CNode> copy(pointer);
    EXPECT_EQ(copy.Get(), nullptr);
}

TEST_F(RefPtr, AMoveCountsNothingAndLeavesNull)
{
    TRefPtr<CNode> pointer(new CNode);
    CNode *const node = pointer.Get();
    const TRefPtr<CNode> moved(std::move(pointer));
    EXPECT_EQ(moved.Get(), node);
    EXPECT_EQ(pointer.Get(), nullptr);
    EXPECT_EQ(node->RefCount(), 1u);
}

TEST_F(RefPtr, DestructionReleasesTheReference)
{
    const TRefPtr<CNode> pointer(new CNode);
    {
        const TRefPtr<CNode> copy(pointer);
        EXPECT_EQ(pointer->RefCount(), 2u);
    }
    EXPECT_EQ(pointer->RefCount(), 1u);
    EXPECT_EQ(CNode::s_Alive, 1);
}

TEST_F(RefPtr, TheLastOneDeletesTheObject)
{
    {
        TRefPtr<CNode> pointer(new CNode);
        const TRefPtr<CNode> copy(pointer);
        pointer.Clear();
        EXPECT_EQ(CNode::s_Alive, 1);
    }
    EXPECT_EQ(CNode::s_Alive, 0);
}

TEST_F(RefPtr, AssignmentSharesTheNewObjectAndReleasesTheOldOne)
{
    TRefPtr<CNode> a(new CNode(1));
    const TRefPtr<CNode> b(new CNode(2));
    a = b;
    EXPECT_EQ(CNode::s_Alive, 1);
    EXPECT_EQ(a->m_Value, 2);
    EXPECT_EQ(b->RefCount(), 2u);
}

TEST_F(RefPtr, AssignmentFromAPointerAddsAReference)
{
    CNode *const node = new CNode(3);
    TRefPtr<CNode> a(new CNode(1));
    a = node;
    EXPECT_EQ(node->RefCount(), 1u);
    EXPECT_EQ(CNode::s_Alive, 1);
}

TEST_F(RefPtr, AssignmentOfNullReleases)
{
    TRefPtr<CNode> pointer(new CNode);
    pointer = null;
    EXPECT_EQ(pointer.Get(), nullptr);
    EXPECT_EQ(CNode::s_Alive, 0);
}

TEST_F(RefPtr, MoveAssignmentCountsNothingAndReleasesTheOldObject)
{
    TRefPtr<CNode> a(new CNode(1));
    TRefPtr<CNode> b(new CNode(2));
    a = std::move(b);
    EXPECT_EQ(CNode::s_Alive, 1);
    EXPECT_EQ(a->m_Value, 2);
    EXPECT_EQ(a->RefCount(), 1u);
    EXPECT_EQ(b.Get(), nullptr);
}

TEST_F(RefPtr, SelfAssignmentIsHarmless)
{
    TRefPtr<CNode> pointer(new CNode(1));
    TRefPtr<CNode> &same = pointer;
    pointer = same;
    EXPECT_EQ(CNode::s_Alive, 1);
    EXPECT_EQ(pointer->RefCount(), 1u);
    pointer = std::move(same);
    EXPECT_EQ(CNode::s_Alive, 1);
    ASSERT_NE(pointer.Get(), nullptr);
    EXPECT_EQ(pointer->RefCount(), 1u);
}

TEST_F(RefPtr, APointerMayBeAssignedAPartOfWhatItHolds)
{
    TRefPtr<CNode> list(new CNode(1));
    list->m_Next = new CNode(2);
    list->m_Next->m_Next = new CNode(3);
    list = list->m_Next;
    EXPECT_EQ(list->m_Value, 2);
    EXPECT_EQ(CNode::s_Alive, 2);
    list = std::move(list->m_Next);
    EXPECT_EQ(list->m_Value, 3);
    EXPECT_EQ(CNode::s_Alive, 1);
}

TEST_F(RefPtr, TheOldObjectIsReleasedAfterTheNewOneIsInPlace)
{
    TRefPtr<CNode> pointer(new CNode(1));
    const TRefPtr<CNode> next(new CNode(2));
    int seenByCopy = 0;
    int seenByMove = 0;
    pointer->m_AtEnd = [&] { seenByCopy = pointer->m_Value; };
    pointer = next;
    EXPECT_EQ(seenByCopy, 2);
    TRefPtr<CNode> moving(new CNode(3));
    moving->m_AtEnd = [&] { seenByMove = moving->m_Value; };
    moving = TRefPtr<CNode>(new CNode(4));
    EXPECT_EQ(seenByMove, 4);
}

TEST_F(RefPtr, ClearReleasesAndBecomesNull)
{
    TRefPtr<CNode> pointer(new CNode);
    pointer.Clear();
    EXPECT_EQ(pointer.Get(), nullptr);
    EXPECT_EQ(CNode::s_Alive, 0);
    pointer.Clear();
    EXPECT_EQ(pointer.Get(), nullptr);
}

TEST_F(RefPtr, SwapCountsNothing)
{
    TRefPtr<CNode> a(new CNode(1));
    TRefPtr<CNode> b(new CNode(2));
    TRefPtr<CNode> none;
    a.Swap(b);
    EXPECT_EQ(a->m_Value, 2);
    EXPECT_EQ(b->m_Value, 1);
    EXPECT_EQ(a->RefCount(), 1u);
    EXPECT_EQ(b->RefCount(), 1u);
    a.Swap(none);
    EXPECT_EQ(a.Get(), nullptr);
    EXPECT_EQ(none->m_Value, 2);
}

TEST_F(RefPtr, ConvertsToABaseAndToConst)
{
    const TRefPtr<CSpecialNode> special(new CSpecialNode);
    const TRefPtr<CNode> node = special;
    const TRefPtr<const CNode> constant = node;
    EXPECT_EQ(node.Get(), special.Get());
    EXPECT_EQ(constant.Get(), special.Get());
    EXPECT_EQ(special->RefCount(), 3u);
}

TEST_F(RefPtr, ConvertsInNoOtherDirection)
{
    EXPECT_FALSE((std::is_convertible<TRefPtr<CNode>, TRefPtr<CSpecialNode>>::value));
    EXPECT_FALSE((std::is_convertible<TRefPtr<const CNode>, TRefPtr<CNode>>::value));
    EXPECT_FALSE((std::is_convertible<TRefPtr<CNode>, CNode *>::value));
    EXPECT_FALSE((std::is_convertible<TRefPtr<CNode>, int>::value));
}

TEST_F(RefPtr, AConstPointerGivesItsObjectForWriting)
{
    const TRefPtr<CNode> pointer(new CNode(1));
    pointer->m_Value = 2;
    (*pointer).m_Value += 3;
    EXPECT_EQ(pointer.Get()->m_Value, 5);
}

TEST_F(RefPtr, TheArrowOfNullReports)
{
    const CAssertRecorder recorder;
    const TRefPtr<CNode> pointer;
    EXPECT_EQ(pointer.operator->(), nullptr);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"_P::m_Ptr != null"}));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_ExpandedExpression, "_P::m_Ptr != null");
    }
}

// In a child that ends in the handler: there is no object to go on with.
TEST_F(RefPtr, TheStarOfNullReports)
{
    if (!kSitesReport)
        GTEST_SKIP() << "a build without assertions";
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(
                [](const char *, const char *, int, const char *expression, const char *, const char *)
                {
                    std::_Exit(std::string(expression) == "_P::m_Ptr != null" ? 0 : 1);
                    return 2;
                });
            const TRefPtr<CNode> pointer;
            return (*pointer).m_Value == 0 ? 2 : 3;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
}

TEST_F(RefPtr, ComparesWithAnother)
{
    const TRefPtr<CNode> a(new CNode);
    const TRefPtr<CNode> sameAsA(a);
    const TRefPtr<CNode> b(new CNode);
    EXPECT_TRUE(a == sameAsA);
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(a != sameAsA);
    EXPECT_TRUE(a != b);
    EXPECT_EQ(a->RefCount(), 2u);
}

TEST_F(RefPtr, ComparesWithARawPointerInBothOrders)
{
    const TRefPtr<CNode> a(new CNode);
    const TRefPtr<CNode> b(new CNode);
    CNode *const raw = a.Get();
    const CNode *const rawConstant = a.Get();
    EXPECT_TRUE(a == raw);
    EXPECT_TRUE(raw == a);
    EXPECT_TRUE(a == rawConstant);
    EXPECT_TRUE(rawConstant == a);
    EXPECT_FALSE(b == raw);
    EXPECT_FALSE(raw == b);
    EXPECT_FALSE(a != raw);
    EXPECT_FALSE(raw != a);
    EXPECT_TRUE(b != raw);
    EXPECT_TRUE(raw != b);
    // No comparison holds a reference in passing.
    EXPECT_EQ(a->RefCount(), 1u);
}

TEST_F(RefPtr, ComparesWithNullInBothOrders)
{
    const TRefPtr<CNode> none;
    const TRefPtr<CNode> some(new CNode);
    EXPECT_TRUE(none == null);
    EXPECT_TRUE(null == none);
    EXPECT_FALSE(none != null);
    EXPECT_FALSE(null != none);
    EXPECT_FALSE(some == null);
    EXPECT_FALSE(null == some);
    EXPECT_TRUE(some != null);
    EXPECT_TRUE(null != some);
    EXPECT_TRUE(some != nullptr);
    EXPECT_TRUE(none == static_cast<CNode *>(nullptr));
}

TEST_F(RefPtr, ComparesWith0AndTheNullMacroInBothOrders)
{
    const TRefPtr<CNode> none;
    const TRefPtr<const CNode> some(new CNode);
    EXPECT_TRUE((none == 0) && (0 == none) && !(none != 0) && !(0 != none));
    EXPECT_TRUE((none == NULL) && (NULL == none) && !(none != NULL) && !(NULL != none));
    EXPECT_TRUE(!(some == 0) && !(0 == some) && (some != 0) && (0 != some));
    EXPECT_TRUE(!(some == NULL) && !(NULL == some) && (some != NULL) && (NULL != some));
    EXPECT_EQ(some->RefCount(), 1u);
}

TEST_F(RefPtr, IsAConditionAndNothingElseThatABoolIs)
{
    const TRefPtr<CNode> none;
    const TRefPtr<CNode> some(new CNode);
    if (none)
        FAIL();
    if (!some)
        FAIL();
    EXPECT_TRUE(some && !none);
    EXPECT_EQ(some ? 1 : 2, 1);
    EXPECT_TRUE(static_cast<bool>(some));
    EXPECT_FALSE((std::is_convertible<TRefPtr<CNode>, bool>::value));
    EXPECT_TRUE((std::is_constructible<bool, TRefPtr<CNode>>::value));
}

TEST_F(RefPtr, AMoveToABaseOrToConstCountsNothingAndLeavesNull)
{
    TRefPtr<CSpecialNode> special(new CSpecialNode);
    CSpecialNode *const object = special.Get();
    TRefPtr<CNode> node(std::move(special));
    EXPECT_EQ(special.Get(), nullptr);
    EXPECT_EQ(node.Get(), object);
    EXPECT_EQ(object->RefCount(), 1u);
    TRefPtr<const CNode> constant;
    constant = std::move(node);
    EXPECT_EQ(node.Get(), nullptr);
    EXPECT_EQ(constant.Get(), object);
    EXPECT_EQ(object->RefCount(), 1u);
    EXPECT_TRUE((std::is_nothrow_constructible<TRefPtr<CNode>, TRefPtr<CSpecialNode> &&>::value));
    EXPECT_FALSE((std::is_convertible<TRefPtr<CNode> &&, TRefPtr<CSpecialNode>>::value));
    EXPECT_FALSE((std::is_convertible<TRefPtr<const CNode> &&, TRefPtr<CNode>>::value));
}

namespace
{

// Counts how often it is counted.
class CWatchedBase
{
public:
    void AddReference() const { ++s_Changes; }
    void RemoveReference() const { ++s_Changes; }

    int m_InFront = 0;
    static int s_Changes;
};

int CWatchedBase::s_Changes = 0;

struct SInFront
{
    int m_Value = 0;
};

// The base does not begin where the object does.
class CWatched : public SInFront, public CWatchedBase
{
};

} // namespace

TEST_F(RefPtr, AMoveToABaseNeverTouchesTheCount)
{
    CWatched object;
    {
        TRefPtr<CWatched> pointer(&object);
        EXPECT_EQ(CWatchedBase::s_Changes, 1);
        TRefPtr<CWatchedBase> base(std::move(pointer));
        EXPECT_EQ(base.Get(), static_cast<CWatchedBase *>(&object));
        TRefPtr<const CWatchedBase> constant;
        constant = std::move(base);
        TRefPtr<CWatchedBase> none = TRefPtr<CWatched>();
        EXPECT_EQ(none.Get(), nullptr);
        EXPECT_EQ(CWatchedBase::s_Changes, 1);
    }
    EXPECT_EQ(CWatchedBase::s_Changes, 2);
}

TEST_F(RefPtr, AReferenceTakenAndDroppedInTheDestructorDeletesOnce)
{
    const CAssertRecorder recorder;
    int ends = 0;
    CNode *node = new CNode;
    node->m_AtEnd = [&]
    {
        ++ends;
        EXPECT_EQ(node->RefCount(), 0u);
        EXPECT_EQ(node->WeakCount(), 0u);
        for (int i = 0; i < 3; ++i)
        {
            const TRefPtr<CNode> itself(node);
            EXPECT_EQ(node->RefCount(), 1u);
            const TRefPtr<CNode> again = itself;
            EXPECT_EQ(node->RefCount(), 2u);
        }
        EXPECT_EQ(node->RefCount(), 0u);
    };
    TRefPtr<CNode>(node).Clear();
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(recorder.Count(), 0u);
}

// The other way to a count of 0: not the only holder when it looked.
TEST_F(RefPtr, AReferenceTakenAndDroppedInTheDestructorDeletesOnceAfterADecrement)
{
    const CAssertRecorder recorder;
    int ends = 0;
    CNode *node = new CNode;
    node->m_AtEnd = [&]
    {
        ++ends;
        node->AddReference();
        node->AddReference();
        node->RemoveReference();
        node->RemoveReference();
    };
    node->AddReference();
    node->AddReference();
    node->RemoveReference();
    node->RemoveReference();
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST_F(RefPtr, ADestructorMayHandItsObjectToAnotherThread)
{
    int ends = 0;
    TRefPtr<CNode> pointer(new CNode);
    pointer->m_AtEnd = [&ends, node = pointer.Get()]
    {
        ++ends;
        std::thread([node] { const TRefPtr<CNode> itself(node); }).join();
    };
    pointer.Clear();
    EXPECT_EQ(ends, 1);
}

TEST_F(RefPtr, OneReferenceTooManyDroppedInTheDestructorIsReported)
{
    const CAssertRecorder recorder;
    CNode *node = new CNode;
    node->m_AtEnd = [&] { node->RemoveReference(); };
    TRefPtr<CNode>(node).Clear();
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"s32(nrc) >= 0"}));
}

TEST_F(RefPtr, WeakReferencesAreCountedInTheDestructorAsBefore)
{
    const CAssertRecorder recorder;
    CNode *node = new CNode;
    node->AddWeakReference();
    node->m_AtEnd = [&]
    {
        EXPECT_EQ(node->WeakCount(), 1u);
        node->AddWeakReference();
        EXPECT_EQ(node->WeakCount(), 2u);
        node->RemoveWeakReference();
        node->RemoveWeakReference();
        EXPECT_EQ(node->WeakCount(), 0u);
        EXPECT_EQ(recorder.Count(), 0u);
        node->RemoveWeakReference();
        EXPECT_EQ(recorder.Count(), IfAsserting(1));
    };
    TRefPtr<CNode>(node).Clear();
}

TEST_F(RefPtr, AWeakUnderflowKeepsNoObjectAlive)
{
    const CAssertRecorder recorder;
    const TRefPtr<CNode> pointer(new CNode);
    pointer->RemoveWeakReference();
    EXPECT_EQ(pointer->WeakCount(), 0xFFFFFFFFu);
}

TEST_F(RefPtr, APointerMayBeClearedAndAssignedByTheDestructorOfItsObject)
{
    const CAssertRecorder recorder;
    int ends = 0;
    TRefPtr<CNode> pointer(new CNode(1));
    pointer->m_AtEnd = [&]
    {
        ++ends;
        EXPECT_EQ(pointer.Get(), nullptr);
        pointer.Clear();
        pointer = TRefPtr<CNode>(new CNode(2));
    };
    pointer.Clear();
    EXPECT_EQ(ends, 1);
    ASSERT_NE(pointer.Get(), nullptr);
    EXPECT_EQ(pointer->m_Value, 2);
    pointer->m_AtEnd = [&]
    {
        ++ends;
        pointer.Clear();
    };
    pointer = null;
    EXPECT_EQ(ends, 2);
    EXPECT_EQ(recorder.Count(), 0u);
}

// No counting is hidden from the sanitizer of addresses.
TEST(RefCountDeathTest, AReleaseOfAnObjectThatHasGoneIsSeenByTheSanitizer)
{
#if defined(__SANITIZE_ADDRESS__)
#define QV_TEST_SEES_ADDRESSES 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QV_TEST_SEES_ADDRESSES 1
#endif
#endif
#if defined(QV_TEST_SEES_ADDRESSES)
    EXPECT_DEATH(
        {
            auto count = std::make_unique<TAtomic<u32>>(1u);
            TAtomic<u32> *const gone = count.get();
            count.reset();
            bool isNegative = false;
            gone->DecIsZero(isNegative);
        },
        "heap-use-after-free");
#else
    GTEST_SKIP() << "built without that sanitizer";
#endif
}

} // namespace QuorvaneTest
