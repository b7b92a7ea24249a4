// The process objects against a fake process table: the cache's order, the lookups, identity,
// the attributes and their retry rules, versions, and the resource-fork parser.

#include "RZProcess.h"
#include "FakeClock.h"
#include "FakeProcessManager.h"
#include "Platform/Foundation/OSTypeCode.h"
#include "ResourceFork.h"
#include "TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

class RZProcessTest : public ::testing::Test {
protected:
    void SetUp() override { RZProcess::resetForTesting(); }
    void TearDown() override { RZProcess::resetForTesting(); }

    RZProcessRef byPid(pid_t pid)
    {
        return RZProcess::processWithSerialNumber({ 1, uint32_t(pid) });
    }

    FakeProcessManager manager;
    LogRecorder log;
};

TEST_F(RZProcessTest, CacheIsOrderedByMostRecentUse)
{
    EXPECT_FALSE(RZProcess::cachedProcessesEnumerator().has_value())
        << "no cache before the first object";
    for (pid_t pid : { 5, 4, 3, 2, 1 })
        byPid(pid);
    EXPECT_EQ(cachedProcessPids(), (QList<pid_t> { 1, 2, 3, 4, 5 }));
    const RZProcessRef first = byPid(4); // index 3
    EXPECT_EQ(cachedProcessPids(), (QList<pid_t> { 4, 1, 2, 3, 5 }));
    EXPECT_EQ(byPid(4), first) << "the same process always yields the same object";
    EXPECT_EQ(cachedProcessPids(), (QList<pid_t> { 4, 1, 2, 3, 5 }));
    EXPECT_EQ(RZProcess::indexOfCachedProcessWithSerialNumber({ 1, 99 }), NSNotFound);
}

TEST_F(RZProcessTest, CleanupKeepsSurvivorsInOrder)
{
    for (pid_t pid : { 1, 2, 3, 4, 5 })
        manager.add(pid, QStringLiteral("P%1").arg(pid));
    for (pid_t pid : { 5, 4, 3, 2, 1 })
        byPid(pid);
    manager.processes[0].running = false; // pid 1, cache index 0
    manager.processes[1].running = false; // pid 2, cache index 1
    manager.processes[3].running = false; // pid 4
    RZProcess::cleanupCache();
    EXPECT_EQ(cachedProcessPids(), (QList<pid_t> { 3, 5 }));
    for (auto& p : manager.processes)
        p.running = false;
    RZProcess::cleanupCache();
    EXPECT_TRUE(cachedProcessPids().isEmpty());
}

TEST_F(RZProcessTest, LookupsAnswerTheFirstMatchInEnumerationOrder)
{
    manager.add(10, QStringLiteral("Alpha"), QStringLiteral("AAAA")).info
        = { { "CFBundleIdentifier", "com.a" } };
    manager.add(11, QStringLiteral("Beta"), QStringLiteral("BBBB"));
    manager.add(12, QStringLiteral("Beta Two"), QStringLiteral("BBBB")).info
        = { { "CFBundleIdentifier", "com.b" } };
    manager.add(13, QStringLiteral("Gamma"), QStringLiteral("CCCC")).informationFails = true;

    const auto all = RZProcess::allProcesses();
    ASSERT_EQ(all.size(), 4);
    EXPECT_EQ(all[1]->name(), QStringLiteral("Beta"));
    EXPECT_EQ(
        RZProcess::processWithSignature(UTGetOSTypeFromString(QStringLiteral("BBBB")))->unixPID(),
        11);
    EXPECT_EQ(
        RZProcess::processWithSignature(UTGetOSTypeFromString(QStringLiteral("CCCC"))), nullptr)
        << "a failed fetch is skipped";
    EXPECT_EQ(
        RZProcess::processWithSignature(UTGetOSTypeFromString(QStringLiteral("ZZZZ"))), nullptr);
    EXPECT_EQ(RZProcess::processWithIdentifier(QStringLiteral("com.b"))->unixPID(), 12);
    EXPECT_EQ(RZProcess::processWithIdentifier(QString())->unixPID(), 11)
        << "\"\" finds the first without an identifier";
    EXPECT_EQ(RZProcess::processWithPID(12), all[2]);
    EXPECT_EQ(RZProcess::processWithPID(99), nullptr);
    EXPECT_EQ(RZProcess::frontProcess(), nullptr);
    manager.front = ProcessSerialNumber { 1, 10 };
    EXPECT_EQ(RZProcess::frontProcess(), all[0]);
    EXPECT_TRUE(all[0]->isFrontProcess());
}

TEST_F(RZProcessTest, CurrentProcessIsRememberedOnlyAfterSuccess)
{
    manager.add(100, QStringLiteral("Installer"));
    manager.failing.insert(QStringLiteral("getCurrentProcess"));
    EXPECT_EQ(RZProcess::currentProcess(), nullptr);
    manager.failing.clear();
    const RZProcessRef self = RZProcess::currentProcess();
    ASSERT_NE(self, nullptr);
    manager.calls.clear();
    EXPECT_EQ(RZProcess::currentProcess(), self);
    EXPECT_FALSE(manager.calls.contains(QStringLiteral("getCurrentProcess")));
}

TEST_F(RZProcessTest, IdentityHashOrderAndDescription)
{
    manager.add(7, QStringLiteral("zeta"), QStringLiteral("ZZZZ")).info
        = { { "CFBundleShortVersionString", "2.5" } };
    manager.add(8, QStringLiteral("Alpha"));
    const RZProcessRef a = byPid(7);
    const auto twin = std::make_shared<RZProcess>(ProcessSerialNumber { 1, 7 });
    EXPECT_TRUE(a->isEqual(*twin)) << "two objects of one serial number are equal";
    EXPECT_FALSE(a->isEqual(nullptr));
    EXPECT_EQ(RZProcess(ProcessSerialNumber { 0xFFFFFFFF, 2 }).hash(), 1u);
    EXPECT_EQ(byPid(8)->compare(*a), -1) << "Alpha before zeta, ignoring case";
    EXPECT_EQ(a->description(), QStringLiteral("Process \"zeta\" (ZZZZ) 1.0"));
}

TEST_F(RZProcessTest, CustomInformation)
{
    const RZProcessRef p = byPid(3);
    EXPECT_FALSE(p->infoForKey(QStringLiteral("k")).isValid());
    p->setInfoForKey(QVariant(), QStringLiteral("k"));
    EXPECT_FALSE(p->infoForKey(QStringLiteral("k")).isValid());
    p->setInfo(42);
    EXPECT_EQ(p->infoForKey(QString()).toInt(), 42);
    p->setInfoForKey(QVariant(), QString());
    EXPECT_FALSE(p->info().isValid());
}

TEST_F(RZProcessTest, AttributesRetryUntilTheyAreFetchedThenStay)
{
    FakeProcess& fake = manager.add(20, QStringLiteral("Foo"), QStringLiteral("FOOO"));
    fake.informationFails = true;
    const RZProcessRef p = byPid(20);
    EXPECT_EQ(p->signature(), 0u);
    EXPECT_EQ(p->signatureString(), QString());
    EXPECT_FALSE(p->name().has_value());
    manager.processes[0].informationFails = false;
    EXPECT_EQ(p->name(), QStringLiteral("Foo")) << "a failed fetch is tried again";
    EXPECT_EQ(p->signatureString(), QStringLiteral("FOOO"));
    manager.processes[0].name = QStringLiteral("Renamed");
    EXPECT_EQ(p->name(), QStringLiteral("Foo")) << "a fetched name is kept";
}

TEST_F(RZProcessTest, SignatureHexStringWidensHighBytes)
{
    manager.add(30, QStringLiteral("A"), QStringLiteral("ABCD"));
    FakeProcess& high = manager.add(31, QStringLiteral("B"));
    high.signature = 0x80000000;
    manager.add(32, QStringLiteral("C"));
    EXPECT_EQ(byPid(30)->signatureHexString(), QStringLiteral("41424344"));
    EXPECT_EQ(byPid(31)->signatureHexString(), QStringLiteral("FFFFFF80000000"));
    EXPECT_EQ(byPid(32)->signatureHexString(), QStringLiteral("00000000"));
}

TEST_F(RZProcessTest, KindAndBackgroundFromTheInformationDictionary)
{
    manager.add(40, QStringLiteral("Agent")).info
        = { { "LSBackgroundOnly", false }, { "LSUIElement", true } };
    manager.add(41, QStringLiteral("Java")).info = { { "CFBundleIdentifier", "org.x.java.app" } };
    manager.add(42, QStringLiteral("NotJava")).info
        = { { "CFBundleIdentifier", "org.x.JAVA.app" } };
    EXPECT_TRUE(byPid(40)->isBackgroundOnly());
    EXPECT_FALSE(byPid(41)->isBackgroundOnly());
    EXPECT_EQ(byPid(41)->platform(), RZPlatformJava);
    EXPECT_EQ(byPid(42)->platform(), RZPlatformCarbon);
}

TEST_F(RZProcessTest, VersionFromTheBundleWithItsRules)
{
    QTemporaryDir dir;
    const struct {
        QVariantMap info;
        const char* expected;
    } cases[] = {
        { { { "CFBundleShortVersionString", "7" }, { "CFBundleVersion", "7.0.1" } }, "7.0.1" },
        { { { "CFBundleShortVersionString", "2.5" }, { "CFBundleVersion", "250" } }, "2.5" },
        { { { "CFBundleShortVersionString", "7" } }, "1.0" },
        { { { "CFBundleVersion", 3 } }, "1.0" },
    };
    pid_t pid = 50;
    for (const auto& c : cases) {
        const QString bundle = makeBundle(dir.path(), QStringLiteral("V%1").arg(pid), c.info);
        manager.add(pid, QStringLiteral("V"), QString(), bundle);
        EXPECT_EQ(byPid(pid)->version(), QString::fromLatin1(c.expected)) << c.expected;
        ++pid;
    }
    FakeProcess& gone = manager.add(60, QStringLiteral("Gone"), QString(),
        makeBundle(
            dir.path(), QStringLiteral("Gone"), { { "CFBundleShortVersionString", "3.0" } }));
    gone.running = false;
    const RZProcessRef ended = byPid(60);
    EXPECT_EQ(ended->version(), QStringLiteral("1.0"));
    manager.processes.back().running = true;
    EXPECT_EQ(ended->version(), QStringLiteral("1.0")) << "the default is kept for good";
}

TEST_F(RZProcessTest, AtLeastVersionComponentByComponent)
{
    QTemporaryDir dir;
    manager.add(70, QStringLiteral("V"), QString(),
        makeBundle(dir.path(), QStringLiteral("V"), { { "CFBundleShortVersionString", "2.0" } }));
    const RZProcessRef p = byPid(70);
    const struct {
        const char* other;
        bool atLeast;
    } cases[] = { { "2.0", true }, { "2.0.1", false }, { "1.9.9", true }, { "", true },
        { "2", true }, { "2.0b3", true }, { "10", false } };
    for (const auto& c : cases)
        EXPECT_EQ(p->isAtLeastVersion(QString::fromLatin1(c.other)), c.atLeast) << c.other;
    EXPECT_EQ(p->majorVersionNumber(), 2);
}

TEST(VersResource, BytesToVersionText)
{
    const struct {
        QByteArray bytes;
        const char* text;
    } cases[] = {
        { QByteArray::fromHex("05601203"), "3.1.2b5" },
        { QByteArray::fromHex("00801010"), "10.1" },
        { QByteArray::fromHex("03801200"), "0.1.23" },
        { QByteArray::fromHex("02201001"), "1.1d2" },
        { QByteArray::fromHex("01401001"), "1.1a1" },
    };
    for (const auto& c : cases)
        EXPECT_EQ(versionFromVersResource(c.bytes), QString::fromLatin1(c.text)) << c.text;
    EXPECT_FALSE(versionFromVersResource(QByteArray::fromHex("0102")).has_value());
}

namespace {
// A resource file with one 'vers' resource (id 1) holding data.
QByteArray resourceFile(const QByteArray& data, int16_t id = 1)
{
    QByteArray body;
    auto be = [](QByteArray& b, uint32_t v, int n) {
        for (int i = n - 1; i >= 0; --i)
            b += char((v >> (8 * i)) & 0xff);
    };
    QByteArray resData;
    be(resData, uint32_t(data.size()), 4);
    resData += data;
    QByteArray map(16 + 4 + 2 + 2, '\0');
    be(map, 28, 2); // type list offset (from the map)
    be(map, 0, 2); // name list offset
    be(map, 0, 2); // types - 1
    be(map, 0x76657273, 4); // 'vers'
    be(map, 0, 2); // count - 1
    be(map, 10, 2); // reference list offset (from the type list)
    be(map, uint16_t(id), 2); // id
    be(map, 0xffff, 2); // no name
    be(map, 0, 4); // attributes + data offset 0
    be(map, 0, 4); // handle
    QByteArray file;
    be(file, 256, 4);
    be(file, uint32_t(256 + resData.size()), 4);
    be(file, uint32_t(resData.size()), 4);
    be(file, uint32_t(map.size()), 4);
    file += QByteArray(256 - 16, '\0');
    file += resData;
    file += map;
    return file;
}
} // namespace

TEST(ResourceFork, FindsTheVersionAndSurvivesDamage)
{
    const QByteArray good = resourceFile(QByteArray::fromHex("05601203") + "1.2 extra text");
    const auto vers = resourceFromResourceFile(good, 0x76657273, 1);
    ASSERT_TRUE(vers.has_value());
    EXPECT_EQ(versionFromVersResource(*vers), QStringLiteral("3.1.2b5"));
    EXPECT_FALSE(resourceFromResourceFile(good, 0x76657273, 2).has_value());
    EXPECT_FALSE(resourceFromResourceFile(resourceFile("x", 2), 0x76657273, 1).has_value());
    // Every truncation and every single-byte corruption gives an answer or none, never a crash.
    for (qsizetype n = 0; n < good.size(); ++n)
        (void)resourceFromResourceFile(good.left(n), 0x76657273, 1);
    for (qsizetype i = 0; i < good.size(); ++i) {
        QByteArray bad = good;
        bad[i] = char(0xff);
        (void)resourceFromResourceFile(bad, 0x76657273, 1);
    }

    QTemporaryDir dir;
    QByteArray appleDouble = QByteArray::fromHex("0005160700020000") + QByteArray(16, '\0')
        + QByteArray::fromHex("0001") + QByteArray::fromHex("00000002")
        + QByteArray::fromHex("00000026");
    const QByteArray len
        = QByteArray::fromHex(QByteArray::number(good.size(), 16).rightJustified(8, '0'));
    appleDouble += len + good;
    writeFile(dir.filePath(QStringLiteral("._tool")), appleDouble);
    writeFile(dir.filePath(QStringLiteral("tool")), "#!/bin/sh\n");
    const auto fork = readResourceFork(dir.filePath(QStringLiteral("tool")));
    ASSERT_TRUE(fork.has_value());
    EXPECT_EQ(*fork, good);
}

TEST(ProcessStatusTime, MinutesColonSeconds)
{
    EXPECT_FLOAT_EQ(parseProcessStatusTime(QStringLiteral("1:02.50")), 62.5f);
    EXPECT_FLOAT_EQ(parseProcessStatusTime(QStringLiteral("  0:00.03\n")), 0.03f);
    EXPECT_FLOAT_EQ(parseProcessStatusTime(QStringLiteral("1:02:03.50")), 62.0f);
    EXPECT_FLOAT_EQ(parseProcessStatusTime(QString()), 0.0f);
    EXPECT_FLOAT_EQ(parseProcessStatusTime(QStringLiteral("-")), 0.0f);
}

// --- Quitting, in virtual time ---

class QuitTest : public RZProcessTest {
protected:
    void SetUp() override
    {
        RZProcessTest::SetUp();
        manager.add(pid, QStringLiteral("Foo"), QStringLiteral("FOOO"));
    }
    const pid_t pid = 4242;
    FakeClock clock;
    FakeRunningApplications apps;
    FakeAppleEvents events;
};

TEST_F(QuitTest, PhasesAndTheirLogLines)
{
    const struct {
        const char* what;
        float timeout;
        std::function<void(FakeRunningApplication&)> setup;
        bool result;
        const char* line;
        int terminates;
        int forces;
    } cases[] = {
        { "quits on the first request", 1.0f, [](FakeRunningApplication&) {}, true,
            "quit Foo: terminated after 0.001s (1 attempts)", 1, 0 },
        { "stopped before the first request", 1.0f,
            [](FakeRunningApplication& a) { a.deliverable = false; }, true,
            "quit Foo: process stopped after 0.000s (1 attempts)", 1, 0 },
        { "quits on the third request", 1.0f,
            [](FakeRunningApplication& a) { a.terminatesAfterRequests = 3; }, true,
            "quit Foo: terminated after 0.003s (3 attempts)", 3, 0 },
        { "ignores terminate, dies on force", 0.5f,
            [](FakeRunningApplication& a) { a.quitsOnTerminate = false; }, true,
            "force-quit Foo: terminated after 0.001s (1 attempts)", 500, 1 },
        { "never dies", 0.1f,
            [](FakeRunningApplication& a) {
                a.quitsOnTerminate = false;
                a.diesOnForce = false;
            },
            false, "quitting Foo failed", 100, 100 },
        { "zero timeout", 0.0f, [](FakeRunningApplication&) {}, false, "quitting Foo failed", 0,
            0 },
    };
    for (const auto& c : cases) {
        log.clear();
        FakeRunningApplication& app = apps.add(pid);
        c.setup(app);
        const double before = clock.elapsed();
        EXPECT_EQ(byPid(pid)->quitRunningApplicationWithTimeout(c.timeout), c.result) << c.what;
        EXPECT_TRUE(log.contains(QString::fromLatin1(c.line)))
            << c.what << ": " << log.lines().join('|').toStdString();
        EXPECT_NEAR(app.terminateCalls, c.terminates, 2) << c.what;
        EXPECT_NEAR(app.forceTerminateCalls, c.forces, 2) << c.what;
        EXPECT_LE(clock.elapsed() - before, 2.0 * c.timeout + 0.01) << c.what;
    }
}

TEST_F(QuitTest, ForcePhaseThatFindsItStoppedSaysSoWithTheMisspelling)
{
    FakeRunningApplication& app = apps.add(pid);
    app.quitsOnTerminate = false;
    app.onTerminated = nullptr;
    clock.onSleep([&](double) {
        if (app.forceTerminateCalls == 0 && clock.elapsed() > 0.3)
            app.terminated = true; // it ends by itself right as the force phase begins
    });
    EXPECT_TRUE(byPid(pid)->quitRunningApplicationWithTimeout(0.3f));
    EXPECT_TRUE(
        log.lines()
                .filter(QStringLiteral("foce-quit Foo: process stopped after 0.000s (1 attempts)"))
                .size()
            == 1
        || log.lines().filter(QStringLiteral("quit Foo: terminated after")).size() == 1);
}

TEST_F(QuitTest, CannotQuitLinesAndTheQuitEventFallback)
{
    apps.exists = false;
    EXPECT_FALSE(byPid(pid)->quitRunningApplicationWithTimeout(1));
    EXPECT_TRUE(
        log.contains(QStringLiteral("cannot quit Foo: NSRunningApplication not available")));
    apps.exists = true;
    EXPECT_FALSE(byPid(pid)->quitRunningApplicationWithTimeout(1));
    EXPECT_TRUE(log.contains(QStringLiteral("cannot quit Foo: no process found")));

    log.clear();
    events.quitStatus = -1708;
    byPid(pid)->quit();
    EXPECT_EQ(events.quitEvents, QList<pid_t> { pid });
    EXPECT_TRUE(log.contains(QStringLiteral("quitting Foo failed (-1708; could not send event)")));

    manager.processes[0].running = false;
    log.clear();
    byPid(pid)->quit();
    EXPECT_TRUE(log.contains(QStringLiteral("cannot quit Foo: no pid")));
}

TEST_F(QuitTest, QuitForcesWithinItsFourSecondsAndPostsNoEvent)
{
    FakeRunningApplication& app = apps.add(pid);
    app.quitsOnTerminate = false;
    byPid(pid)->quit();
    EXPECT_GE(clock.elapsed(), 4.0) << "the polite phase used its whole four seconds";
    EXPECT_LT(clock.elapsed(), 4.1);
    EXPECT_TRUE(events.quitEvents.isEmpty());
}

TEST_F(QuitTest, AppleEventTimeoutInTicks)
{
    byPid(pid)->sendAppleEventClass(0x61657674, 0x6f646f63, 1.5f);
    EXPECT_EQ(events.messageTimeouts, QList<long> { 90 });
    EXPECT_TRUE(log.contains(QStringLiteral("*** event error: -1708")));
}
