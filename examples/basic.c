/* A small tour of the library on a generated image: absolute difference of
 * two frames, a running average as a background model, and a motion-history
 * update from the thresholded difference. */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "ombcv.h"

enum { W = 640, H = 480 };

static double Now(void) {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec * 1e-9;
}

static int Check(OmbResult st, const char* what) {
  if (st != ombResultOk) {
    fprintf(stderr, "%s failed: %d (%s)\n", what, (int)st, ombGetStatusString(st));
    return 1;
  }
  return 0;
}

int main(void) {
  const OmbLibraryVersion* v = ombcvGetLibVersion();
  int threads = 0, cache = 0;
  ombGetNumThreads(&threads);
  ombGetMaxCacheSizeB(&cache);
  printf("%s %s (build %d.%d), %d threads, %d cores on die, largest cache %d KiB\n",
         v->libraryName, v->versionText, v->buildMajor, v->buildNumber, threads,
         ombGetNumCoresOnDie(), cache / 1024);

  Omb8u* prev = malloc(W * H);
  Omb8u* next = malloc(W * H);
  Omb8u* diff = malloc(W * H);
  Omb8u* moving = malloc(W * H);
  Omb32f* background = calloc(W * H, sizeof(Omb32f));
  Omb32f* mhi = calloc(W * H, sizeof(Omb32f));
  if (!prev || !next || !diff || !moving || !background || !mhi) return 1;

  /* A bright square moves 6 pixels to the right over a textured scene. */
  OmbRoiSize roi = {W, H};
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) {
      Omb8u base = (Omb8u)((x * 7 + y * 3) & 63);
      int in_prev = x >= 200 && x < 280 && y >= 150 && y < 230;
      int in_next = x >= 206 && x < 286 && y >= 150 && y < 230;
      prev[y * W + x] = in_prev ? 220 : base;
      next[y * W + x] = in_next ? 220 : base;
    }

  double t0 = Now();
  if (Check(ombiAbsDiff_8u_C1R(prev, W, next, W, diff, W, roi), "AbsDiff")) return 1;
  double t1 = Now();
  long changed = 0;
  for (int i = 0; i < W * H; ++i) {
    moving[i] = diff[i] > 30;
    changed += moving[i];
  }
  printf("ombiAbsDiff_8u_C1R: %ld of %d pixels changed by more than 30 (%.3f ms)\n",
         changed, W * H, (t1 - t0) * 1e3);

  for (int frame = 0; frame < 10; ++frame)
    if (Check(ombiAddWeighted_8u32f_C1IR(frame & 1 ? next : prev, W, background,
                                         W * 4, roi, 0.1f), "AddWeighted")) return 1;
  printf("ombiAddWeighted_8u32f_C1IR: background after 10 frames at (240,190) = %.3f\n",
         background[190 * W + 240]);

  if (Check(ombiUpdateMotionHistory_8u32f_C1IR(moving, W, mhi, W * 4, roi, 1.0f, 0.5f),
            "UpdateMotionHistory")) return 1;
  long stamped = 0;
  for (int i = 0; i < W * H; ++i) stamped += mhi[i] == 1.0f;
  printf("ombiUpdateMotionHistory_8u32f_C1IR: %ld pixels stamped with time 1.0\n", stamped);

  OmbResult bad = ombiAbsDiff_8u_C1R(prev, W - 1, next, W, diff, W, roi);
  printf("a step shorter than a row is refused: %d (%s)\n", (int)bad, ombGetStatusString(bad));

  free(prev); free(next); free(diff); free(moving); free(background); free(mhi);
  return 0;
}
