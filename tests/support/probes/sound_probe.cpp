// Plays a sound file as a sound effect at a volume, the way the installer plays "Done":
//   sound_probe FILE VOLUME
// Prints how long playAsSoundEffect took (milliseconds), then waits for the sound to finish.

#include "SoundExtensions.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <cstdio>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 3)
        return 64;
    const auto sound = NSSound::soundWithContentsOfFile(args.at(1));
    if (!sound)
        return 65;
    sound->setVolume(args.at(2).toFloat());
    QElapsedTimer timer;
    timer.start();
    sound->playAsSoundEffect();
    std::printf("%lld\n", timer.elapsed());
    std::fflush(stdout);
    QThread::msleep(static_cast<unsigned long>(sound->duration() * 1000) + 400);
    return 0;
}
