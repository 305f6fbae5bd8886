// The core library (thread count, processor facts, status texts) and the
// version record, through the public headers.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <set>
#include <string>

#include "ombcv.h"
#include "support/test_image.hpp"

namespace {

TEST(Core, DefaultThreadCountIsOnlineProcessors) {
  int n = -1;
  ASSERT_EQ(ombGetNumThreads(&n), ombResultOk);
  EXPECT_EQ(n, sysconf(_SC_NPROCESSORS_ONLN));
  EXPECT_EQ(threads_omp_of_n_omb, n);
}

TEST(Core, SetNumThreads) {
  int saved = 0;
  ASSERT_EQ(ombGetNumThreads(&saved), ombResultOk);
  const omb_test::ScopedThreadCount restore(saved);
  for (int n : {3, 1, 40}) {
    int got = 0;
    ASSERT_EQ(ombSetNumThreads(n), ombResultOk);
    EXPECT_EQ(ombGetNumThreads(&got), ombResultOk);
    EXPECT_EQ(got, n);
    EXPECT_EQ(threads_omp_of_n_omb, n);
  }
  for (int bad : {0, -1, -1000}) {  // refused, nothing changes
    int got = 0;
    EXPECT_EQ(ombSetNumThreads(bad), ombResultBadArgument);
    ombGetNumThreads(&got);
    EXPECT_EQ(got, 40);
    EXPECT_EQ(threads_omp_of_n_omb, 40);
  }
  EXPECT_EQ(ombGetNumThreads(nullptr), ombResultNullPointer);
}

TEST(Core, ProcessorFacts) {
  EXPECT_GE(ombGetNumCoresOnDie(), 1);
  EXPECT_EQ(ombGetNumCoresOnDie(), ombGetNumCoresOnDie());
  int bytes = 0;
  EXPECT_EQ(ombGetMaxCacheSizeB(&bytes), ombResultOk);
  EXPECT_GT(bytes, 0);
  EXPECT_EQ(ombGetMaxCacheSizeB(nullptr), ombResultNullPointer);
}

TEST(Core, StatusStrings) {
  const OmbResult all[] = {
      ombResultNotSupportedMode, ombResultMisalignedStep, ombResultBadMetric,
      ombResultBadChannelCount, ombResultBadChannelOfInterest, ombResultBadAnchor,
      ombResultBadMaskSize, ombResultBadStep, ombResultBadDataType, ombResultOutOfRange,
      ombResultNoMemory, ombResultNullPointer, ombResultBadSize, ombResultBadArgument,
      ombResultError, ombResultOk, ombResultSqrtNegativeWarning,
      ombResultDivByZeroWarning, ombResultKernelNotSymmetricWarning};
  std::set<std::string> texts;
  for (OmbResult st : all) {
    const char* s = ombGetStatusString(st);
    ASSERT_NE(s, nullptr) << st;
    EXPECT_GT(std::strlen(s), 0u) << st;
    texts.insert(s);
  }
  EXPECT_EQ(texts.size(), sizeof all / sizeof all[0]);
  const char* unknown = ombGetStatusString(static_cast<OmbResult>(12345));
  ASSERT_NE(unknown, nullptr);
  EXPECT_GT(std::strlen(unknown), 0u);
  EXPECT_EQ(texts.count(unknown), 0u);
  EXPECT_STREQ(ombGetStatusString(static_cast<OmbResult>(-1)), unknown);
}

TEST(Version, StaticRecord) {
  const OmbLibraryVersion* v = ombcvGetLibVersion();
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v, ombcvGetLibVersion());
  EXPECT_EQ(v->versionMajor, 5);
  EXPECT_EQ(v->versionMinor, 1);
  EXPECT_EQ(v->buildMajor, 133);
  EXPECT_EQ(v->buildNumber, 258);
  EXPECT_EQ(std::memcmp(v->cpuCode, "a6\0\0", 4), 0);
  EXPECT_STREQ(v->versionText, "5.1.1");
  EXPECT_STREQ(v->buildDateText, "Jun 20 2006");
  // The name is the file the library was loaded from, i.e. its SONAME.
  Dl_info info{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(&ombcvGetLibVersion), &info), 0);
  std::string file = info.dli_fname;
  file = file.substr(file.find_last_of('/') + 1);
  EXPECT_EQ(file, "libombcv.so.5");
  EXPECT_STREQ(v->libraryName, file.c_str());
}

}  // namespace
