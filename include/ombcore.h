/* ombcore: the thread count shared by all ombcv calls, and facts about the
 * processor (cores on one die, largest cache) read from the running machine. */
#ifndef OMBCORE_H
#define OMBCORE_H

#include "ombtypes.h"

OMB_EXTERN_C_BEGIN

/* Team size requested for every parallel region; kept equal to the thread
 * count by ombSetNumThreads. Read it, do not write it. */
OMB_API extern int threads_omp_of_n_omb;

/* Writes the library-wide thread count (default: the number of online
 * processors) to *pNumThreads. -8 for a null pointer. */
OMB_API OmbResult ombGetNumThreads(int* pNumThreads);

/* Sets the library-wide thread count; numThreads below 1 gives -5. */
OMB_API OmbResult ombSetNumThreads(int numThreads);

/* Number of processor cores on one die (at least 1). */
OMB_API int ombGetNumCoresOnDie(void);

/* Writes the size in bytes of the largest processor cache. -8 for null. */
OMB_API OmbResult ombGetMaxCacheSizeB(int* pSizeBytes);

/* A short English text for a status code; never null. */
OMB_API const char* ombGetStatusString(OmbResult status);

OMB_EXTERN_C_END

#endif /* OMBCORE_H */
