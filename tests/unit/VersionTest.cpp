// Version strings, version comparison and the system version in its three forms.

#include "FakeSystemVersion.h"
#include "RZUtilities.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

TEST(CompareVersion, StagesHeadsAndTails)
{
    const struct {
        const char* a;
        const char* b;
        int expected;
    } cases[] = {
        { "2.0b3", "2.0", -1 },
        { "2.0a9", "2.0b1", -1 },
        { "2.0d5", "2.0a1", -1 },
        { "2.0f0", "2.0", -1 },
        { "2.0b10", "2.0b9", 1 },
        { "2.0", "2.0", 0 },
        { "10.13", "10.9", 1 },
        { "1.0", "1.0.0", -1 },
        { "3.1b2", "3.1", -1 },
        { "3.1f1", "3.1", -1 },
        { "3.1x1", "3.1d1", 0 },
        { "3.1B1", "3.1d1", 0 },
        { "1.10", "1.9", 1 },
        { "6.1.0", "3.2", 1 },
        { "3.2", "6.1", -1 },
        { "2.0é1", "2.0d1", 0 },
        { "", "", 0 },
        { "", "1", -1 },
        { "1.2b1x", "1.2b1y", -1 },
        { "01.5", "1.5", 0 },
    };
    for (const auto& c : cases) {
        EXPECT_EQ(
            RZUtilities::compareVersion(QString::fromUtf8(c.a), QString::fromUtf8(c.b)), c.expected)
            << c.a << " vs " << c.b;
        EXPECT_EQ(RZUtilities::compareVersion(QString::fromUtf8(c.b), QString::fromUtf8(c.a)),
            -c.expected)
            << c.b << " vs " << c.a << " (reversed)";
    }
}

TEST(PlainVersion, CutsAtTheFirstOtherCharacterAndKeepsTheSameString)
{
    const struct {
        const char* in;
        const char* out;
    } cases[] = { { "2.1b3", "2.1" }, { "3.0 (build 7)", "3.0" }, { "beta", "" },
        { "1.2.3", "1.2.3" }, { "", "" } };
    for (const auto& c : cases)
        EXPECT_EQ(RZUtilities::plainVersionOf(QString::fromUtf8(c.in)), QString::fromUtf8(c.out))
            << c.in;

    const QString whole = QString::fromLatin1("1.2.3");
    EXPECT_TRUE(RZUtilities::plainVersionOf(whole).isSharedWith(whole));
}

TEST(DevelopmentStage, TableIndexOrZero)
{
    const QString stages = QStringLiteral("dabf x"); // x: not a stage letter, so 0
    for (int i = 0; i < stages.size(); ++i)
        EXPECT_EQ(developmentStage(stages[i].unicode()), i % 5) << i;
}

class SystemVersionTest : public ::testing::Test {
protected:
    void SetUp() override { RZUtilities::resetCachesForTesting(); }
    void TearDown() override { RZUtilities::resetCachesForTesting(); }
    FakeSystemVersion system;
    LogRecorder log;
};

TEST_F(SystemVersionTest, ThreeFormsOfTheRelease)
{
    system.setRelease(10, 13, 6);
    EXPECT_EQ(RZUtilities::systemVersionString(), QStringLiteral("10.13.6"));
    EXPECT_EQ(RZUtilities::decimalSystemVersion(), 101306u);
    const auto v = ThreePartVersion::unpack(RZUtilities::threePartVersion());
    EXPECT_EQ(v.major, 10);
    EXPECT_EQ(v.minor, 13);
    EXPECT_EQ(v.bugfix, 6u);

    system.setRelease(10, 13, 0);
    EXPECT_EQ(RZUtilities::systemVersionString(), QStringLiteral("10.13"));
    EXPECT_EQ(RZUtilities::decimalSystemVersion(), 101306u) << "the first value stays cached";
}

TEST_F(SystemVersionTest, FallsBackToTheBinaryCodedVersionThenToZero)
{
    system.answers = { { gestaltSystemVersion, 0x1049 } };
    EXPECT_EQ(RZUtilities::systemVersionString(), QStringLiteral("10.4.9"));
    EXPECT_EQ(RZUtilities::hexSystemVersion(), 0x1049u);

    system.answers.clear();
    EXPECT_EQ(RZUtilities::hexSystemVersion(), 0u);
    EXPECT_EQ(RZUtilities::threePartVersion(), 0u);
    EXPECT_EQ(RZUtilities::decimalSystemVersion(), 0u);
    system.setRelease(6, 1, 0);
    EXPECT_EQ(RZUtilities::decimalSystemVersion(), 60100u) << "a zero is not cached";
}

TEST_F(SystemVersionTest, MissingMinorOrBugfixIsLoggedAndZero)
{
    system.answers = { { gestaltSystemVersionMajor, 6 } };
    EXPECT_EQ(RZUtilities::systemVersionString(), QStringLiteral("6.0"));
    EXPECT_TRUE(log.contains(QStringLiteral("cannot get minor version number")));
    EXPECT_TRUE(log.contains(QStringLiteral("cannot get bugfix version number")));
}

TEST_F(SystemVersionTest, ReleasePredicatesAtTheirThresholds)
{
    using P = bool (*)();
    const struct {
        const char* name;
        P predicate;
        double below;
        double at;
    } cases[] = {
        { "leopardOrNewer", RZUtilities::leopardOrNewer, 824.9, 825.0 }, // floor 824 is not > 824
        { "snowleopardOrNewer", RZUtilities::snowleopardOrNewer, 1037.9, 1038.5 },
        { "lionOrNewer", RZUtilities::lionOrNewer, 1137.9, 1138.0 },
        { "mountainLionOrNewer", RZUtilities::mountainLionOrNewer, 1186.9, 1187.0 },
        { "mavericksOrNewer", RZUtilities::mavericksOrNewer, 1264.9, 1265.0 },
        { "yosemiteOrNewer", RZUtilities::yosemiteOrNewer, 1342.9, 1343.0 },
        { "elCapitanOrNewer", RZUtilities::elCapitanOrNewer, 1403.9, 1404.0 },
        { "sierraOrNewer", RZUtilities::sierraOrNewer, 1489.9, 1490.0 },
        { "highSierraOrNewer", RZUtilities::highSierraOrNewer, 1537.1, 1537.2 },
    };
    for (const auto& c : cases) {
        system.toolkit = c.at;
        EXPECT_TRUE(c.predicate()) << c.name << " at " << c.at;
        system.toolkit = c.below;
        EXPECT_FALSE(c.predicate()) << c.name << " at " << c.below;
    }
    system.toolkit = 743.9;
    EXPECT_TRUE(RZUtilities::pantherOrOlder());
    system.toolkit = 744.0;
    EXPECT_FALSE(RZUtilities::pantherOrOlder());
    EXPECT_TRUE(log.contains(QStringLiteral("AppKit version number = 1537.2")));
}

TEST(RealSystemVersion, TheKernelReleaseIsNewestForEveryPredicate)
{
    RZUtilities::resetCachesForTesting();
    EXPECT_TRUE(RZUtilities::systemVersionString().contains(QLatin1Char('.')));
    EXPECT_GT(RZUtilities::decimalSystemVersion(), 20000u);
    EXPECT_TRUE(RZUtilities::highSierraOrNewer());
    EXPECT_FALSE(RZUtilities::pantherOrOlder());
    RZUtilities::resetCachesForTesting();
}

TEST(LocalizedDate, ShortStyleInTheCurrentLocale)
{
    const QLocale saved;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    qputenv("TZ", "UTC");
    EXPECT_EQ(
        RZUtilities::localizedDateString(QStringLiteral("2026-11-22")), QStringLiteral("22.11.26"));
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_EQ(
        RZUtilities::localizedDateString(QStringLiteral("2026-11-22")), QStringLiteral("11/22/26"));
    QLocale::setDefault(saved);
}
