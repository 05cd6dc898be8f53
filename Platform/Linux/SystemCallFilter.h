#pragma once

namespace platform {

/// From now on, whatever the calling thread and those that it starts ask of the kernel which a
/// network client never needs fails with EPERM (seccomp): tracing, reading and signalling other
/// processes, running a program, accepting connections, changing whose a file is and who may read
/// it, namespaces, mounts, key rings, kernel interfaces, and sockets other than local ones, TCP and
/// UDP. A child that it starts has the same filter, and cannot signal itself. False, and nothing is
/// changed, when the kernel cannot filter or this processor's calls are not known here. Needs no
/// privileges, but that the thread can gain none (PR_SET_NO_NEW_PRIVS).
bool filterSystemCalls();

} // namespace platform
