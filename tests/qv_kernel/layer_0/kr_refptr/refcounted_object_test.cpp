#include "kr_refptr.h"

#include <cstdint>
#include <new>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "test_allocator.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

class CCounted : public CRefCountedObject
{
public:
    CCounted() { ++s_Constructed; }
    ~CCounted() override { ++s_Destroyed; }

    static void Reset()
    {
        s_Constructed = 0;
        s_Destroyed = 0;
    }

    u64 m_Payload[5] = {};

    static int s_Constructed;
    static int s_Destroyed;
};

int CCounted::s_Constructed = 0;
int CCounted::s_Destroyed = 0;

class COther
{
public:
    virtual ~COther() = default;

    u64 m_Other = 0;
};

// The counted base is not at the start of the object.
class CSecondBase : public COther, public CCounted
{
};

class CVirtualBase : public COther, public virtual CRefCountedObject
{
};

class alignas(64) COverAligned : public CCounted
{
public:
    char m_Line[64] = {};
};

// A fixture whose allocator reports what is leaked, freed twice or freed with another origin.
class RefCountedObject : public ::testing::Test
{
protected:
    RefCountedObject() { CCounted::Reset(); }

    CTestAllocator m_Allocator;
};

} // namespace

TEST_F(RefCountedObject, NewTakesABlockOfTheObjectsSizeAndOriginNew)
{
    const TRefPtr<CCounted> object(new CCounted);
    ASSERT_EQ(m_Allocator.Calls().size(), 1u);
    const SAllocatorCall call = m_Allocator.Calls()[0];
    EXPECT_EQ(call.m_Kind, SAllocatorCall::Kind_Alloc);
    EXPECT_EQ(call.m_Size, sizeof(CCounted));
    EXPECT_EQ(call.m_Alignment, 0u);
    EXPECT_EQ(call.m_Type, Mem::AllocType_Generic);
    EXPECT_EQ(call.m_Origin, Mem::Origin_New);
    EXPECT_EQ(call.m_Tag, "Kernel|Mem|Default");
    EXPECT_NE(call.m_File, "");
    EXPECT_NE(call.m_Line, 0u);
    EXPECT_NE(call.m_Function, "");
    EXPECT_EQ(object.Get(), call.m_Result);
}

TEST_F(RefCountedObject, DeletionFreesTheBlockWithOriginNew)
{
    TRefPtr<CCounted> object(new CCounted);
    m_Allocator.ForgetCalls();
    void *const block = object.Get();
    object.Clear();
    ASSERT_EQ(m_Allocator.Calls().size(), 1u);
    const SAllocatorCall call = m_Allocator.Calls()[0];
    EXPECT_EQ(call.m_Kind, SAllocatorCall::Kind_Free);
    EXPECT_EQ(call.m_Block, block);
    EXPECT_EQ(call.m_Type, Mem::AllocType_Generic);
    EXPECT_EQ(call.m_Origin, Mem::Origin_New);
    EXPECT_EQ(call.m_Tag, "Kernel|Mem|Default");
    EXPECT_NE(call.m_File, "");
    EXPECT_NE(call.m_Line, 0u);
    EXPECT_NE(call.m_Function, "");
}

TEST_F(RefCountedObject, NewGivesNullWhenMemoryIsRefused)
{
    m_Allocator.RefuseNth(1);
    const TRefPtr<CCounted> object(new CCounted);
    EXPECT_EQ(object.Get(), nullptr);
    EXPECT_EQ(CCounted::s_Constructed, 0);
    m_Allocator.RefuseNth(1);
    const TRefPtr<COverAligned> overAligned(new COverAligned);
    EXPECT_EQ(overAligned.Get(), nullptr);
    EXPECT_EQ(CCounted::s_Constructed, 0);
}

TEST_F(RefCountedObject, RemoveReferenceDeletesOnlyWithTheLastOne)
{
    const CCounted *const object = new CCounted;
    object->AddReference();
    object->AddReference();
    object->AddReference();
    object->RemoveReference();
    EXPECT_EQ(object->RefCount(), 2u);
    object->RemoveReference();
    EXPECT_EQ(object->RefCount(), 1u);
    EXPECT_EQ(CCounted::s_Destroyed, 0);
    object->RemoveReference();
    EXPECT_EQ(CCounted::s_Destroyed, 1);
    EXPECT_EQ(m_Allocator.LiveBlocks(), 0u);
}

TEST_F(RefCountedObject, TheLastReferenceDeletesExactlyOnce)
{
    const CAssertRecorder recorder;
    {
        const TRefPtr<CCounted> a(new CCounted);
        const TRefPtr<CCounted> b(a);
        const TRefPtr<CCounted> c(b);
    }
    EXPECT_EQ(CCounted::s_Constructed, 1);
    EXPECT_EQ(CCounted::s_Destroyed, 1);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST_F(RefCountedObject, ReleasingAReferenceThatNobodyHoldsReportsAndDeletesNothing)
{
    const CAssertRecorder recorder;
    CCounted *const object = new CCounted;
    object->RemoveReference();
    EXPECT_EQ(CCounted::s_Destroyed, 0);
    EXPECT_EQ(m_Allocator.LiveBlocks(), 1u);
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"s32(nrc) >= 0"}));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_Message, "/!\\ strong refcount underflow /!\\");
    }
    // The count is one below 0 now; two references make it one again.
    object->AddReference();
    object->AddReference();
    EXPECT_EQ(object->RefCount(), 1u);
    object->RemoveReference();
    EXPECT_EQ(CCounted::s_Destroyed, 1);
}

TEST_F(RefCountedObject, WeakReferencesKeepNothingAlive)
{
    const CCounted *const object = new CCounted;
    object->AddReference();
    object->AddWeakReference();
    object->RemoveReference();
    EXPECT_EQ(CCounted::s_Destroyed, 1);
}

TEST_F(RefCountedObject, WeakReferencesMayBeDroppedInTheDestructor)
{
    struct CDropsBoth : CRefCountedObject
    {
        ~CDropsBoth() override
        {
            RemoveWeakReference();
            RemoveWeakReference();
        }
    };
    const CAssertRecorder recorder;
    const CDropsBoth *const object = new CDropsBoth;
    object->AddReference();
    object->AddWeakReference();
    object->AddWeakReference();
    object->RemoveReference();
    EXPECT_EQ(recorder.Count(), 0u);
    EXPECT_EQ(m_Allocator.LiveBlocks(), 0u);
}

TEST_F(RefCountedObject, AnObjectIsDeletedThroughItsBase)
{
    {
        const TRefPtr<CRefCountedObject> base(new CCounted);
        EXPECT_EQ(CCounted::s_Destroyed, 0);
    }
    EXPECT_EQ(CCounted::s_Destroyed, 1);
    EXPECT_EQ(m_Allocator.LiveBlocks(), 0u);
}

TEST_F(RefCountedObject, AnObjectWithSeveralBasesIsFreedAsAWhole)
{
    TRefPtr<CCounted> counted(new CSecondBase);
    void *const block = m_Allocator.Calls()[0].m_Result;
    ASSERT_NE(static_cast<void *>(counted.Get()), block);
    counted.Clear();
    EXPECT_EQ(CCounted::s_Destroyed, 1);
    EXPECT_EQ(m_Allocator.Calls().back().m_Block, block);
}

TEST_F(RefCountedObject, AnObjectWithAVirtualBaseIsFreedAsAWhole)
{
    TRefPtr<CRefCountedObject> counted(new CVirtualBase);
    void *const block = m_Allocator.Calls()[0].m_Result;
    counted.Clear();
    EXPECT_EQ(m_Allocator.Calls().back().m_Block, block);
}

TEST_F(RefCountedObject, AnOverAlignedClassGetsItsAlignment)
{
    const TRefPtr<COverAligned> object(new COverAligned);
    ASSERT_NE(object.Get(), nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(object.Get()) % 64, 0u);
    const SAllocatorCall call = m_Allocator.Calls()[0];
    EXPECT_EQ(call.m_Alignment, 64u);
    EXPECT_EQ(call.m_Size, sizeof(COverAligned));
    EXPECT_EQ(call.m_Origin, Mem::Origin_New);
}

TEST_F(RefCountedObject, AnOverAlignedObjectIsFreedThroughABaseThatIsNot)
{
    {
        const TRefPtr<CRefCountedObject> base(new COverAligned);
    }
    EXPECT_EQ(CCounted::s_Destroyed, 1);
    EXPECT_EQ(m_Allocator.Calls().back().m_Origin, Mem::Origin_New);
}

TEST_F(RefCountedObject, AnObjectBuiltInABlockOfItsOwnerIsFreedWithIt)
{
    // More memory than the object needs, as a container of characters has.
    void *const block = Mem::_RawAlloc(sizeof(CCounted) + 100, 16, Mem::AllocType_Generic, Mem::Origin_New, "tag",
                                       __FILE__, __LINE__, __func__);
    {
        const TRefPtr<CCounted> object(new (block) CCounted);
        EXPECT_EQ(object.Get(), block);
        EXPECT_EQ(m_Allocator.Requests().size(), 1u);
    }
    EXPECT_EQ(CCounted::s_Destroyed, 1);
    EXPECT_EQ(m_Allocator.LiveBlocks(), 0u);
}

TEST_F(RefCountedObject, TheDestructorSeesACountOf0)
{
    class CLooking : public CRefCountedObject
    {
    public:
        explicit CLooking(u32 &seen) : m_Seen(seen) {}
        ~CLooking() override { m_Seen = RefCount(); }

    private:
        u32 &m_Seen;
    };
    u32 seenAlone = 77;
    u32 seenAfterSharing = 77;
    {
        const TRefPtr<CLooking> alone(new CLooking(seenAlone));
        const TRefPtr<CLooking> shared(new CLooking(seenAfterSharing));
        const TRefPtr<CLooking> copy(shared);
    }
    EXPECT_EQ(seenAlone, 0u);
    EXPECT_EQ(seenAfterSharing, 0u);
}

TEST_F(RefCountedObject, TheFormsOfNewThatDoNotThrowUseTheSameMemory)
{
    {
        const TRefPtr<CCounted> object(new (std::nothrow) CCounted);
        const TRefPtr<COverAligned> aligned(new (std::nothrow) COverAligned);
        ASSERT_EQ(m_Allocator.Calls().size(), 2u);
        EXPECT_EQ(m_Allocator.Calls()[0].m_Size, sizeof(CCounted));
        EXPECT_EQ(m_Allocator.Calls()[0].m_Origin, Mem::Origin_New);
        EXPECT_EQ(m_Allocator.Calls()[1].m_Size, sizeof(COverAligned));
        EXPECT_EQ(m_Allocator.Calls()[1].m_Alignment, 64u);
        EXPECT_EQ(m_Allocator.Calls()[1].m_Origin, Mem::Origin_New);
        EXPECT_EQ(object->RefCount(), 1u);
    }
    EXPECT_EQ(CCounted::s_Destroyed, 2);
    m_Allocator.RefuseFromNth(1);
    EXPECT_EQ(new (std::nothrow) CCounted, nullptr);
    EXPECT_EQ(new (std::nothrow) COverAligned, nullptr);
    EXPECT_EQ(CCounted::s_Constructed, 2);
}

#if defined(__cpp_exceptions)

TEST_F(RefCountedObject, AConstructorThatThrowsGivesItsMemoryBackWhereNewDoesNotThrow)
{
    struct SThrowing : CRefCountedObject
    {
        SThrowing() { throw 1; }
    };
    struct alignas(64) SAlignedThrowing : CRefCountedObject
    {
        SAlignedThrowing() { throw 1; }
    };
    EXPECT_THROW(static_cast<void>(new (std::nothrow) SThrowing), int);
    EXPECT_THROW(static_cast<void>(new (std::nothrow) SAlignedThrowing), int);
    EXPECT_EQ(m_Allocator.LiveBlocks(), 0u);
    // The block of another is its owner's.
    void *const block =
        Mem::_RawAlloc(sizeof(SThrowing), 0, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
    EXPECT_THROW(static_cast<void>(new (block) SThrowing), int);
    EXPECT_EQ(m_Allocator.LiveBlocks(), 1u);
    Mem::_RawFree(block, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
}

TEST_F(RefCountedObject, AConstructorThatThrowsGivesItsMemoryBack)
{
    struct CThrows : CRefCountedObject
    {
        CThrows() { throw 1; }
    };
    EXPECT_THROW(static_cast<void>(new CThrows), int);
    EXPECT_THROW(static_cast<void>(new (std::nothrow) CThrows), int);
    struct alignas(64) COverAlignedThrows : CThrows
    {
    };
    EXPECT_THROW(static_cast<void>(new COverAlignedThrows), int);
    EXPECT_THROW(static_cast<void>(new (std::nothrow) COverAlignedThrows), int);
    EXPECT_EQ(m_Allocator.LiveBlocks(), 0u);
}

#endif

} // namespace QuorvaneTest
