// The run time of the process: how it is loaded, counted and given up, and what a failed start leaves.
#include "tests/AMF/amd_run_time.h"

using namespace amd;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kLibrary = platform::kAmfLibrary;

struct FactoryHelper : testing::Test {
    int Held() const { return m_Libraries.Held(kLibrary); }

    DriverScript m_Script;
    DriverLibraries m_Libraries{kLibrary};
    AMFFactoryHelper m_Helper;
};

} // namespace

TEST_F(FactoryHelper, LoadsTheRunTimeInTheToldOrder)
{
    EXPECT_EQ(m_Helper.GetFactory(), nullptr);
    EXPECT_EQ(m_Helper.Init(), 0);
    EXPECT_NE(m_Helper.GetFactory(), nullptr);
    EXPECT_THAT(m_Libraries.Asked(), ElementsAre("open " + kLibrary, "symbol AMFInit", "symbol AMFQueryVersion"));
    EXPECT_THAT(m_Script.Trace(), ElementsAre("AMFInit version=" + std::to_string(0x0001000400040000),
                                              "AMFQueryVersion", "Factory.GetTrace", "Factory.GetDebug"));
    EXPECT_EQ(m_Helper.Terminate(), 0);
    EXPECT_EQ(m_Helper.GetFactory(), nullptr);
    EXPECT_EQ(Held(), 0);
}

TEST_F(FactoryHelper, CountsItsUsers)
{
    EXPECT_EQ(m_Helper.Terminate(), 0); // nothing is loaded
    EXPECT_EQ(m_Helper.Init(), 0);
    EXPECT_EQ(m_Helper.Init(), 0);
    EXPECT_EQ(m_Script.Calls("AMFInit"), 1);
    EXPECT_EQ(m_Helper.Terminate(), 0);
    EXPECT_NE(m_Helper.GetFactory(), nullptr);
    EXPECT_EQ(Held(), 1);
    EXPECT_EQ(m_Helper.Terminate(), 0);
    EXPECT_EQ(Held(), 0);
    EXPECT_EQ(m_Helper.Terminate(), 0);
    EXPECT_EQ(m_Helper.Init(), 0); // and once more
    EXPECT_NE(m_Helper.GetFactory(), nullptr);
    EXPECT_EQ(m_Helper.Terminate(), 0);
}

TEST_F(FactoryHelper, AMissingLibraryIsAGeneralFailure)
{
    m_Libraries.Remove(kLibrary);
    EXPECT_EQ(m_Helper.Init(), 1);
    EXPECT_EQ(m_Helper.Init(), 1);
    EXPECT_EQ(m_Helper.GetFactory(), nullptr);
    EXPECT_EQ(m_Helper.Terminate(), 0);
    EXPECT_THAT(m_Libraries.Asked(), ElementsAre("open " + kLibrary, "open " + kLibrary));
}

TEST(FactoryHelperFailures, AMissingNameIsAGeneralFailureAndLeavesNothing)
{
    for (const char* const pName : {"AMFInit", "AMFQueryVersion"}) {
        const DriverScript Script;
        DriverLibraries Lacking{kLibrary};
        Lacking.Lack(pName);
        AMFFactoryHelper Helper;
        EXPECT_EQ(Helper.Init(), 1) << pName;
        EXPECT_EQ(Helper.GetFactory(), nullptr);
        EXPECT_EQ(Lacking.Held(kLibrary), 0);
        EXPECT_EQ(Helper.Init(), 1);
        EXPECT_EQ(Helper.Terminate(), 0);
    }
}

TEST(FactoryHelperFailures, ARunTimeThatRefusesKeepsItsLibraryAndTheNextInitAnswersZero)
{
    for (const char* const pOperation : {"AMFInit", "AMFQueryVersion"}) {
        for (const int64_t Status : {1, 10, 17, -1}) {
            DriverScript Script;
            DriverLibraries Libraries{kLibrary};
            AMFFactoryHelper Helper;
            Script.Answer(pOperation, Status);
            EXPECT_EQ(Helper.Init(), Status) << pOperation;
            EXPECT_EQ(Libraries.Held(kLibrary), 1);
            EXPECT_EQ(Helper.GetFactory(), nullptr);
            EXPECT_EQ(Helper.Init(), 0);
            EXPECT_EQ(Script.Calls("AMFInit"), 1);
            EXPECT_EQ(Helper.GetFactory(), nullptr);
            EXPECT_EQ(Helper.Terminate(), 0);
            EXPECT_EQ(Libraries.Held(kLibrary), 0);
        }
    }
}

TEST_F(FactoryHelper, AFailedStartIsNotCounted)
{
    m_Script.Answer("AMFInit", 10);
    EXPECT_EQ(m_Helper.Init(), 10);
    EXPECT_EQ(m_Helper.Terminate(), 0); // below 0: not the last user
    EXPECT_EQ(Held(), 1);
}

TEST_F(FactoryHelper, AStatusBehindTheWorkCountsAsWell)
{
    m_Script.Set("AMFInit", 2);
    EXPECT_EQ(m_Helper.Init(), 2);
    EXPECT_EQ(m_Helper.GetFactory(), nullptr);
}

TEST_F(FactoryHelper, SuccessWithoutAFactoryIsAFailure)
{
    m_Script.Answer("AMFInit", 0);
    EXPECT_EQ(m_Helper.Init(), 1);
    EXPECT_EQ(m_Helper.GetFactory(), nullptr);
    EXPECT_EQ(Held(), 1);
}

TEST_F(FactoryHelper, TraceAndDebugMayBeRefused)
{
    m_Script.Answer("Factory.GetTrace", 9);
    m_Script.Answer("Factory.GetDebug", 9);
    EXPECT_EQ(m_Helper.Init(), 0);
    EXPECT_NE(m_Helper.GetFactory(), nullptr);
    EXPECT_EQ(m_Helper.Terminate(), 0);
}
