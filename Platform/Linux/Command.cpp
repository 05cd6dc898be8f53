#include "Command.h"

#include <linux/close_range.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>
#include <utility>

namespace platform {

namespace {

CommandResult resultOf(QProcess& process) {
    if (process.error() == QProcess::FailedToStart || process.exitStatus() == QProcess::CrashExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()).trimmed()};
}

} // namespace

void setUpCommand(QProcess& process, const QString& name, const QStringList& arguments) {
    process.setProgram(QStandardPaths::findExecutable(name));
    process.setArguments(arguments);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    // What this process itself was started with, or a library opened carelessly, ends there too.
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
}

void runCommand(const QString& name, const QStringList& arguments,
                std::function<void(const CommandResult&)> whenEnded) {
    // The application object owns it, and so ends it with itself.
    auto* const process = new QProcess(qApp);
    setUpCommand(*process, name, arguments);
    const auto end = [process, whenEnded = std::move(whenEnded)] {
        process->deleteLater();
        whenEnded(resultOf(*process));
    };
    QObject::connect(process, &QProcess::finished, process, end);
    // One that cannot be started does not finish, and says so before this function returns.
    const auto endUnlessStarted = [process, end] {
        if (process->error() == QProcess::FailedToStart)
            end();
    };
    QObject::connect(process, &QProcess::errorOccurred, process, endUnlessStarted,
                     Qt::QueuedConnection);
    QTimer::singleShot(commandTimeLimit, process, &QProcess::kill);
    process->start(QIODevice::ReadOnly);
}

} // namespace platform
