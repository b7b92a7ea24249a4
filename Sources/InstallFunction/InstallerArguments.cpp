#include "InstallerArguments.h"

#include "Platform/Foundation/Log.h"

#include <QDir>

#include <atomic>
#include <cstdio>

namespace {
std::atomic<bool> redirectionEnabled { true };
}

void setLogRedirectionEnabled(bool enabled)
{
    redirectionEnabled = enabled;
}

QVariantMap parseInstallerArguments(const QStringList& processArguments)
{
    QVariantMap arguments;
    QString key = QStringLiteral("");
    for (const QString& word : processArguments) {
        if (word.startsWith(QLatin1Char('-'))) {
            key = word.mid(1);
            continue;
        }
        if (key.endsWith(QStringLiteral("Code"))) {
            QStringList list = arguments.value(key).toStringList();
            list.append(word);
            arguments.insert(key, list);
        } else {
            arguments.insert(key, word);
        }
    }
    return arguments;
}

bool startedWithArguments(const QStringList& processArguments)
{
    return processArguments.size() >= 3
        && processArguments.at(1) != QStringLiteral("-AppleLanguages");
}

QString installerLogPath()
{
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (state.isEmpty() || !QDir::isAbsolutePath(state))
        state = QDir::homePath() + QStringLiteral("/.local/state");
    return state + QStringLiteral("/VelkaroInstaller.log");
}

void redirectLogIfStartedWithArguments(const QStringList& processArguments)
{
    if (!startedWithArguments(processArguments)) {
        NSLog(QStringLiteral("direct invocation"));
        return;
    }
    const QString path = installerLogPath();
    if (!redirectionEnabled)
        return;
    QDir().mkpath(QFileInfo(path).absolutePath());
    const QByteArray file = QFile::encodeName(path);
    if (!std::freopen(file.constData(), "a+", stdout))
        std::freopen("/dev/null", "a+", stdout);
    if (!std::freopen(file.constData(), "a+", stderr))
        std::freopen("/dev/null", "a+", stderr);
}
