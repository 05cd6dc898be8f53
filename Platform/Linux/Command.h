#pragma once

#include <QString>
#include <QStringList>
#include <chrono>
#include <functional>
#include <optional>

class QProcess;

namespace platform {

/// How long a command may take that is waited for. Only tests change it.
// NOLINTNEXTLINE(cert-err58-cpp): a constant initialiser throws nothing
inline constinit std::chrono::milliseconds commandTimeLimit{10'000};

/// How a command ended that was waited for.
struct CommandResult {
    std::optional<int> exitStatus; ///< absent when it could not be started or had to be ended
    QString output;                ///< what it printed, without blanks around it
};

/// Makes the process one of the command with that name, found in PATH, and these arguments: nothing
/// of this process will be open in it, and its standard input and standard error are null. Where
/// there is no such command, the process has no program.
void setUpCommand(QProcess& process, const QString& name, const QStringList& arguments);

/// Runs the command, at most for the time limit, and returns at once. The handler is called once,
/// from the event loop of the main thread; never, when the application ends before the command,
/// which it then ends, too. On the main thread only.
void runCommand(const QString& name, const QStringList& arguments,
                std::function<void(const CommandResult&)> whenEnded);

} // namespace platform
