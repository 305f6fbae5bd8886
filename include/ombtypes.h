/* Shared types, status codes and the export marker of the ombcv libraries.
 * Compiles as C99 and as C++. */
#ifndef OMBTYPES_H
#define OMBTYPES_H

#include <stdint.h>

#if defined(_WIN32)
#  define OMB_API
#elif defined(__GNUC__) || defined(__clang__)
#  define OMB_API __attribute__((visibility("default")))
#else
#  define OMB_API
#endif

#ifdef __cplusplus
#  define OMB_EXTERN_C_BEGIN extern "C" {
#  define OMB_EXTERN_C_END }
#else
#  define OMB_EXTERN_C_BEGIN
#  define OMB_EXTERN_C_END
#endif

/* Pixel types. */
typedef uint8_t Omb8u;
typedef int8_t Omb8s;
typedef uint16_t Omb16u;
typedef int16_t Omb16s;
typedef int32_t Omb32s;
typedef float Omb32f;
typedef double Omb64f;

/* Geometry. OmbRoiSize is always passed by value, width first. */
typedef struct { int width; int height; } OmbRoiSize;
typedef struct { int x; int y; } OmbPoint;
typedef struct { Omb32f x; Omb32f y; } OmbPoint32f;
typedef struct { int x; int y; int width; int height; } OmbRect;

/* Status of every call: 0 success, negative error (nothing useful was
 * written), positive warning (the result is complete, with a caveat). */
typedef enum {
  ombResultNotSupportedMode = -9999,
  ombResultMisalignedStep = -108,
  ombResultBadMetric = -56,
  ombResultBadChannelCount = -53,
  ombResultBadChannelOfInterest = -52,
  ombResultBadAnchor = -34,
  ombResultBadMaskSize = -33,
  ombResultBadStep = -14,
  ombResultBadDataType = -12,
  ombResultOutOfRange = -11,
  ombResultNoMemory = -9,
  ombResultNullPointer = -8,
  ombResultBadSize = -6,
  ombResultBadArgument = -5,
  ombResultError = -2,
  ombResultOk = 0,
  ombResultSqrtNegativeWarning = 3,
  ombResultDivByZeroWarning = 6,
  ombResultKernelNotSymmetricWarning = 38
} OmbResult;

/* How a filter makes up pixels outside the image: a 32-bit signed code.
 * Constant uses the caller's border value; replicate repeats the edge pixel;
 * wrap continues from the opposite side; mirror reflects about the edge
 * pixel without repeating it; mirror-edge reflects with it repeated. */
typedef int OmbBorderType;
enum {
  ombBorderConstant = 0,
  ombBorderReplicate = 1,
  ombBorderWrap = 2,
  ombBorderMirror = 3,
  ombBorderMirrorEdge = 4
};

/* Opaque Haar stage states (one classifier stage each). */
typedef struct OmbHaarStage_32f OmbHaarStage_32f;
typedef struct OmbHaarStage_32s OmbHaarStage_32s;

/* A pyramid: one block made by ombiPyramidInitAlloc and released by
 * ombiPyramidFree. The library fills sizes, scales and level; the caller
 * fills images[i] and steps[i] (bytes) for levels 0 .. level. */
typedef struct {
  void** images;       /* level + 1 image pointers, level 0 the base image */
  OmbRoiSize* sizes;   /* level + 1 sizes, each the reduction of the previous */
  Omb64f* scales;      /* level + 1 factors rate^-i, scales[0] = 1.0 */
  int* steps;          /* level + 1 row steps in bytes */
  void* state;         /* free for the caller's per-level data; unused */
  int level;           /* index of the top level */
} OmbPyramidRecord;

/* Opaque states of the general pyramid layer operators. */
typedef struct OmbPyramidLayerDownState_8u_C1R OmbPyramidLayerDownState_8u_C1R;
typedef struct OmbPyramidLayerDownState_8u_C3R OmbPyramidLayerDownState_8u_C3R;
typedef struct OmbPyramidLayerDownState_16u_C1R OmbPyramidLayerDownState_16u_C1R;
typedef struct OmbPyramidLayerDownState_16u_C3R OmbPyramidLayerDownState_16u_C3R;
typedef struct OmbPyramidLayerDownState_32f_C1R OmbPyramidLayerDownState_32f_C1R;
typedef struct OmbPyramidLayerDownState_32f_C3R OmbPyramidLayerDownState_32f_C3R;
typedef struct OmbPyramidLayerUpState_8u_C1R OmbPyramidLayerUpState_8u_C1R;
typedef struct OmbPyramidLayerUpState_8u_C3R OmbPyramidLayerUpState_8u_C3R;
typedef struct OmbPyramidLayerUpState_16u_C1R OmbPyramidLayerUpState_16u_C1R;
typedef struct OmbPyramidLayerUpState_16u_C3R OmbPyramidLayerUpState_16u_C3R;
typedef struct OmbPyramidLayerUpState_32f_C1R OmbPyramidLayerUpState_32f_C1R;
typedef struct OmbPyramidLayerUpState_32f_C3R OmbPyramidLayerUpState_32f_C3R;

/* Opaque states of the pyramidal optical flow. */
typedef struct OmbOptFlowPyrLKState_8u_C1R OmbOptFlowPyrLKState_8u_C1R;
typedef struct OmbOptFlowPyrLKState_16u_C1R OmbOptFlowPyrLKState_16u_C1R;
typedef struct OmbOptFlowPyrLKState_32f_C1R OmbOptFlowPyrLKState_32f_C1R;

/* The static version record returned by ombcvGetLibVersion. */
typedef struct {
  int versionMajor;
  int versionMinor;
  int buildMajor;
  int buildNumber;
  char cpuCode[4];
  const char* libraryName;
  const char* versionText;
  const char* buildDateText;
} OmbLibraryVersion;

#endif /* OMBTYPES_H */
