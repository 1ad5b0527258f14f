// Which life of ICU this is. One ends, and another begins, when the process calls u_cleanup: ICU then drops
// all data, and may come back with other rules of zones, another default zone and default locale.
//
// ICU tells nobody of a cleanup, and what it drops it may make again at the same addresses. But among what
// a cleanup resets is the context of its tracing functions, an opaque pointer that anybody can read
// without a lock. As long as nobody traces, it is free: a number that no other life had is put there when
// it is null, and as long as it stands there, no cleanup has happened. Modules that are loaded more than
// once in a process recognise and share the number.
#pragma once

#include <cstdint>

// The number of this life; 0 where it cannot be told, since the process has tracing functions of its own.
// Two calls that give the same number, other than 0, have no cleanup between them.
std::uint64_t icuLife();
