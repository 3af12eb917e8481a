// Places where two threads may overtake each other.
#pragma once

namespace orva_accelerator::win32 {

// Tests define ORVA_RACE_POINTS for a build of their own, and this function, which then makes the
// thread wait at the named place or lets it pass, so that what happens once in a million times
// happens every time. In what is shipped there is nothing here.
#ifdef ORVA_RACE_POINTS
void racePoint(const char* place);
#else
inline void racePoint(const char* /*place*/) {}
#endif

}  // namespace orva_accelerator::win32
