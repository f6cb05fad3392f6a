// Components as applications write them.
#include "framework/ecom/component.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/refusing_new.h"

namespace
{
class IShape : public IEComUnknown
{
    QV_ECOM_INTERFACE(IShape, IEComUnknown)
    virtual double GetArea() const = 0;
};

class IRoundShape : public IShape
{
    QV_ECOM_INTERFACE(IRoundShape, IShape)
    virtual double GetRadius() const = 0;
};

class INamed : public IEComUnknown
{
    QV_ECOM_INTERFACE(INamed, IEComUnknown)
    virtual std::string GetName() const = 0;
};

class IFrame : public IEComUnknown
{
    QV_ECOM_INTERFACE(IFrame, IEComUnknown)
    virtual int GetWidth() const = 0;
};

QV_ECOM_GUID(CLSID_Circle, "test.Circle");
QV_ECOM_GUID(CLSID_Frame, "test.Frame");
QV_ECOM_GUID(CLSID_OuterFrame, "test.OuterFrame");

int g_nCirclesAlive = 0;
int g_nFramesAlive = 0;

class CCircle : public CEComComponent<IRoundShape, INamed>
{
public:
    explicit CCircle(IEComUnknown* pOuterUnknown) : CEComComponent(pOuterUnknown) { ++g_nCirclesAlive; }
    ~CCircle() override { --g_nCirclesAlive; }
    double GetArea() const override { return 3; }
    double GetRadius() const override { return 1; }
    std::string GetName() const override { return "circle"; }
};

/// Takes a part in and lends out what the part can do.
template <const SEComGuid& rstInnerClsid>
class CFrameAround : public CEComComponent<IFrame>
{
public:
    explicit CFrameAround(IEComUnknown* pOuterUnknown) : CEComComponent<IFrame>(pOuterUnknown) { ++g_nFramesAlive; }
    ~CFrameAround() override { --g_nFramesAlive; }
    int GetWidth() const override { return 2; }
    QvResult InitializeInstance() override { return m_pInner.CreateInstance(&rstInnerClsid, GetControllingUnknown()); }
    QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        return QueryWithInner(m_pInner.Get(), pIid, ppInterface);
    }

private:
    CEComPtr<IEComUnknown> m_pInner;
};

class CComponents : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(QV_RES_OK, RegisterECom(&CLSID_Circle, CreateEComObject<CCircle>));
        ASSERT_EQ(QV_RES_OK, RegisterECom(&CLSID_Frame, CreateEComObject<CFrameAround<CLSID_Circle>>));
        ASSERT_EQ(QV_RES_OK, RegisterECom(&CLSID_OuterFrame, CreateEComObject<CFrameAround<CLSID_Frame>>));
    }
    void TearDown() override
    {
        for (const SEComGuid* const pClsid : {&CLSID_Circle, &CLSID_Frame, &CLSID_OuterFrame}) UnregisterECom(pClsid);
        EXPECT_EQ(0, g_nCirclesAlive);
        EXPECT_EQ(0, g_nFramesAlive);
    }
};

std::string BytesOf(const SEComGuid& rstGuid)
{
    return std::string(reinterpret_cast<const char*>(rstGuid.puData), rstGuid.uSize);
}

TEST_F(CComponents, IdentifiersAreTheNameAndItsNul)
{
    EXPECT_EQ(std::string("IShape", 7), BytesOf(*IShape::GetIid()));
    EXPECT_EQ(&IID_IEComUnknown, IEComUnknown::GetIid());
    EXPECT_EQ(std::string("test.Circle", 12), BytesOf(CLSID_Circle));
}

TEST_F(CComponents, AnswerForEachInterfaceTheOnesTheyExtendAndTheBase)
{
    CEComPtr<IRoundShape> pRound;
    ASSERT_EQ(QV_RES_OK, pRound.CreateInstance(&CLSID_Circle));
    EXPECT_EQ(1, pRound->GetRadius());
    EXPECT_EQ(3, pRound->GetArea());
    CEComPtr<IShape> pShape;
    ASSERT_EQ(QV_RES_OK, pShape.QueryFrom(pRound.Get()));
    EXPECT_EQ(3, pShape->GetArea());
    CEComPtr<INamed> pNamed;
    ASSERT_EQ(QV_RES_OK, pNamed.QueryFrom(pShape.Get()));
    EXPECT_EQ("circle", (*pNamed).GetName());
    CEComPtr<IEComUnknown> pUnknown;
    ASSERT_EQ(QV_RES_OK, pUnknown.QueryFrom(pNamed.Get()));
    ASSERT_EQ(QV_RES_OK, pRound.QueryFrom(pUnknown.Get()));
    EXPECT_TRUE(IsEqualECom(pRound.Get(), pNamed.Get()));
    EXPECT_TRUE(IsEqualECom(pUnknown.Get(), pShape.Get()));
    CEComPtr<IShape> pOther;
    ASSERT_EQ(QV_RES_OK, pOther.CreateInstance(&CLSID_Circle));
    EXPECT_FALSE(IsEqualECom(pOther.Get(), pShape.Get()));

    CEComPtr<IFrame> pFrame;
    EXPECT_EQ(QV_RES_NO_INTERFACE, pFrame.QueryFrom(pRound.Get()));
    EXPECT_EQ(QV_RES_NO_INTERFACE, pFrame.CreateInstance(&CLSID_Circle));
    EXPECT_FALSE(pFrame);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, pRound->QueryIf(IShape::GetIid(), nullptr));
    void* pvInterface = &pvInterface;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, pRound->QueryIf(nullptr, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
}

TEST_F(CComponents, CountAllInterfacesTogether)
{
    CEComPtr<INamed> pNamed;
    ASSERT_EQ(QV_RES_OK, pNamed.CreateInstance(&CLSID_Circle));
    EXPECT_EQ(2u, pNamed->AddIfRef());
    EXPECT_EQ(1u, pNamed->ReleaseIfRef());
    CEComPtr<IShape> pShape;
    ASSERT_EQ(QV_RES_OK, pShape.QueryFrom(pNamed.Get()));
    EXPECT_EQ(3u, pNamed->AddIfRef());
    EXPECT_EQ(2u, pShape->ReleaseIfRef());
    pNamed.Reset();
    EXPECT_EQ(1, g_nCirclesAlive);
    pShape.Reset();
    EXPECT_EQ(0, g_nCirclesAlive);
}

TEST_F(CComponents, AnAggregateIsOneObjectToItsUsers)
{
    CEComPtr<IFrame> pFrame;
    ASSERT_EQ(QV_RES_OK, pFrame.CreateInstance(&CLSID_Frame));
    EXPECT_EQ(1, g_nCirclesAlive);
    CEComPtr<IShape> pShape;
    ASSERT_EQ(QV_RES_OK, pShape.QueryFrom(pFrame.Get()));
    EXPECT_EQ(3, pShape->GetArea());
    CEComPtr<IFrame> pFrameAgain;
    ASSERT_EQ(QV_RES_OK, pFrameAgain.QueryFrom(pShape.Get())) << "the part leads back to the whole";
    EXPECT_TRUE(IsEqualECom(pShape.Get(), pFrame.Get()));
    EXPECT_EQ(4u, pShape->AddIfRef()) << "references to the part count for the whole";
    EXPECT_EQ(3u, pFrame->ReleaseIfRef());
    CEComPtr<INamed> pNamed;
    EXPECT_EQ(QV_RES_OK, pNamed.QueryFrom(pShape.Get()));
    pFrame.Reset();
    pFrameAgain.Reset();
    pNamed.Reset();
    EXPECT_EQ(1, g_nFramesAlive) << "a reference to the part keeps the whole";
    pShape.Reset();
    EXPECT_EQ(0, g_nFramesAlive);
    EXPECT_EQ(0, g_nCirclesAlive);
}

TEST_F(CComponents, AggregatesNest)
{
    CEComPtr<IRoundShape> pRound;
    ASSERT_EQ(QV_RES_OK, pRound.CreateInstance(&CLSID_OuterFrame)) << "two levels down";
    EXPECT_EQ(2, g_nFramesAlive);
    CEComPtr<IFrame> pFrame;
    ASSERT_EQ(QV_RES_OK, pFrame.QueryFrom(pRound.Get()));
    EXPECT_TRUE(IsEqualECom(pFrame.Get(), pRound.Get()));
    EXPECT_EQ(3u, pFrame->AddIfRef());
    EXPECT_EQ(2u, pRound->ReleaseIfRef());
}

TEST_F(CComponents, AnAggregateWhosePartCannotBeMadeIsNotMade)
{
    UnregisterECom(&CLSID_Circle);
    CEComPtr<IFrame> pFrame;
    EXPECT_EQ(QV_RES_CLASS_NOT_REGISTERED, pFrame.CreateInstance(&CLSID_OuterFrame));
    EXPECT_FALSE(pFrame);
    EXPECT_EQ(0, g_nFramesAlive);
}

TEST_F(CComponents, AnAggregateWithoutItsPartYetAnswersForItself)
{
    CEComUnknown* pObject = nullptr;
    ASSERT_EQ(QV_RES_OK, CreateEComObject<CFrameAround<CLSID_Circle>>(nullptr, &pObject));
    void* pvInterface = &pvInterface;
    EXPECT_EQ(QV_RES_NO_INTERFACE, pObject->NonDelegatingQueryIf(IShape::GetIid(), &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
    EXPECT_EQ(QV_RES_OK, pObject->NonDelegatingQueryIf(IFrame::GetIid(), &pvInterface));
    EXPECT_EQ(1u, static_cast<IFrame*>(pvInterface)->ReleaseIfRef());
    EXPECT_EQ(0u, pObject->NonDelegatingReleaseIfRef());
}

TEST_F(CComponents, APartKeptByItselfIsAskedForItsUnknownOnly)
{
    CEComPtr<IFrame> pFrame;
    ASSERT_EQ(QV_RES_OK, pFrame.CreateInstance(&CLSID_Frame));
    CEComPtr<IShape> pShape;
    EXPECT_EQ(QV_RES_NO_INTERFACE, pShape.CreateInstance(&CLSID_Circle, pFrame.Get()));
    CEComPtr<IEComUnknown> pInner;
    ASSERT_EQ(QV_RES_OK, pInner.CreateInstance(&CLSID_Circle, pFrame.Get()));
    EXPECT_EQ(2u, pInner->AddIfRef()) << "its own count";
    EXPECT_EQ(1u, pInner->ReleaseIfRef());
    CEComPtr<IEComUnknown> pInnerAgain;
    ASSERT_EQ(QV_RES_OK, pInnerAgain.QueryFrom(pInner.Get()));
    EXPECT_EQ(pInner.Get(), pInnerAgain.Get());
    EXPECT_EQ(2u, pFrame->AddIfRef()) << "the whole was not touched";
    EXPECT_EQ(1u, pFrame->ReleaseIfRef());
}

TEST_F(CComponents, PointersCopyMoveAndGiveAway)
{
    CEComPtr<INamed> pNamed;
    ASSERT_EQ(QV_RES_OK, pNamed.CreateInstance(&CLSID_Circle));
    CEComPtr<INamed> pCopy(pNamed);
    EXPECT_EQ(3u, pNamed->AddIfRef());
    EXPECT_EQ(2u, pNamed->ReleaseIfRef());
    CEComPtr<INamed> pMoved(std::move(pCopy));
    EXPECT_FALSE(pCopy);
    pCopy = pMoved;
    CEComPtr<INamed>& rSame = pCopy;
    pCopy = rSame;
    EXPECT_EQ(4u, pNamed->AddIfRef());
    EXPECT_EQ(3u, pNamed->ReleaseIfRef());
    pMoved = std::move(pCopy);
    EXPECT_EQ(2u, pNamed->AddIfRef() - 1);
    INamed* const pRaw = pMoved.Detach();
    EXPECT_FALSE(pMoved);
    EXPECT_EQ(2u, pRaw->ReleaseIfRef());
    pMoved = CEComPtr<INamed>::Attached(pRaw);
    EXPECT_EQ(3u, CEComPtr<INamed>(pRaw)->AddIfRef() - 1);
    EXPECT_EQ(2u, pRaw->ReleaseIfRef());
    EXPECT_FALSE(CEComPtr<INamed>(nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, pMoved.QueryFrom(nullptr));
    EXPECT_FALSE(pMoved) << "after a failure";
    EXPECT_EQ(QV_RES_OK, pNamed.QueryFrom(pNamed.Get())) << "from itself";
    EXPECT_EQ(QV_RES_CLASS_NOT_REGISTERED, pNamed.CreateInstance(IShape::GetIid()));
    EXPECT_FALSE(pNamed);
}

#if TESTS_OWN_OPERATOR_NEW
TEST_F(CComponents, WithoutMemoryAreNotMade)
{
    CEComPtr<IShape> pShape;
    {
        const CNoMemory none;
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, pShape.CreateInstance(&CLSID_Circle));
    }
    EXPECT_FALSE(pShape);
    EXPECT_EQ(QV_RES_OK, pShape.CreateInstance(&CLSID_Circle));
}
#endif
}  // namespace
