#include "io/fullspeed.h"

#include <QtGlobal>

#if defined(Q_PROCESSOR_X86_64) && defined(Q_CC_GNU)

#include <immintrin.h>

namespace {

[[gnu::target("avx")]] void clearUpperHalves()
{
    _mm256_zeroupper();
}

} // namespace

// After hashing a string, Qt leaves the upper halves of the vector registers in use. Until they are cleared, code that
// uses the lower halves is slower, as most of Qt and SHA-1 do.
void restoreFullSpeed()
{
    if (__builtin_cpu_supports("avx"))
        clearUpperHalves();
}

#else

void restoreFullSpeed() { }

#endif
