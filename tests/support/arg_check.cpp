#include "support/arg_check.hpp"

#include <climits>
#include <sstream>

namespace omb_test {
namespace {

// Parameters tested before the steps take the stages kSize + 1 + j.
enum Stage { kNull = 0, kSize = 1, kStep = 100, kAlign, kCoi, kParam0 };

struct Fault {
  int stage;
  std::string what;
  std::string field;  // faults on the same field cannot be combined
  OmbResult code;
  std::function<void(CallArgs&)> apply;
};

constexpr int kW = 11, kH = 3;

std::vector<Fault> Faults(const ArgFront& f) {
  std::vector<Fault> out;
  auto add = [&](int stage, const std::string& what, const std::string& field,
                 OmbResult code, std::function<void(CallArgs&)> apply) {
    out.push_back({stage, what, field, code, std::move(apply)});
  };
  for (std::size_t i = 0; i < f.images.size(); ++i) {
    const ArgImage& im = f.images[i];
    const int eb = ElemBytes(im.elem), row = (kW + im.extra_cols) * eb * im.channels;
    const std::string n = "image " + std::to_string(i);
    add(kNull, n + " null", "ptr" + n, ombResultNullPointer,
        [i](CallArgs& a) { a.ptr[i] = nullptr; });
    if (im.pointer_only) continue;
    // The row length as the arguments in force make it.
    auto row_of = [&f, i, eb](const CallArgs& a) {
      const ArgImage& m = f.images[i];
      const long long extra = f.extra_elems ? f.extra_elems(a, i) : m.extra_cols;
      return static_cast<int>((a.roi.width + extra) * eb * m.channels);
    };
    // One element short of a row, zero and negative: all element-aligned,
    // so only the row-length rule can refuse them.
    add(kStep, n + " step one element short", "step" + n, ombResultBadStep,
        [i, eb, row_of](CallArgs& a) { a.step[i] = row_of(a) - eb; });
    for (int step : {0, -row}) {
      add(kStep, n + " step " + std::to_string(step), "step" + n, ombResultBadStep,
          [i, step](CallArgs& a) { a.step[i] = step; });
    }
    if (im.align_tested && !im.mask) {
      for (int e = 1; e < eb; ++e) {
        add(kAlign, n + " step row + " + std::to_string(e), "step" + n,
            ombResultMisalignedStep, [i, e, row_of](CallArgs& a) { a.step[i] = row_of(a) + e; });
      }
    }
  }
  const OmbRoiSize sizes[] = {{0, kH}, {kW, 0}, {-1, kH}, {kW, -5}, {0, 0}, {INT_MIN, INT_MIN}};
  for (OmbRoiSize r : sizes) {
    add(kSize, "roi " + std::to_string(r.width) + "x" + std::to_string(r.height),
        "roi", ombResultBadSize, [r](CallArgs& a) { a.roi = r; });
  }
  // A width whose row length wraps to a few bytes in 32-bit arithmetic.
  add(kStep, "roi width 2^30+1", "roi", ombResultBadStep,
      [](CallArgs& a) { a.roi.width = (1 << 30) + 1; });
  if (f.has_coi) {
    for (int coi : {0, 4, -1}) {
      add(kCoi, "coi " + std::to_string(coi), "coi", ombResultBadChannelOfInterest,
          [coi](CallArgs& a) { a.coi = coi; });
    }
  }
  for (std::size_t j = 0; j < f.params.size(); ++j) {
    for (double v : f.params[j].bad) {
      std::ostringstream what;
      what << "param " << j << " = " << v;
      std::ostringstream name;
      name << 'p' << j;
      const int index = f.params[j].index;
      const int stage = f.params[j].before_steps ? kSize + 1 + static_cast<int>(j)
                                                 : kParam0 + static_cast<int>(j);
      add(stage, what.str(), name.str(),
          f.params[j].status, [index, v](CallArgs& a) { a.p[index] = v; });
    }
  }
  return out;
}

}  // namespace

void ExpectCheckOrder(const ArgFront& f) {
  SCOPED_TRACE(f.name);
  Rng rng(0x5eed);
  std::vector<ImageBytes> imgs;
  CallArgs valid;
  for (std::size_t i = 0; i < f.images.size(); ++i) {
    const ArgImage& im = f.images[i];
    const int eb = ElemBytes(im.elem);
    Layout l;
    // Padded steps; where alignment is not tested the padding is odd, to
    // show that such a step is accepted.
    l.pad_bytes = im.align_tested && !im.mask ? eb * static_cast<int>(i + 1)
                                              : 2 * static_cast<int>(i) + 3;
    l.off_x = 1;
    l.off_y = 1;
    imgs.emplace_back((kW + im.extra_cols) * im.channels, kH + im.extra_rows, im.elem, l);
    FillRandom(imgs.back(), rng, 0.1);
    valid.ptr.push_back(imgs.back().RoiBytes());
    valid.step.push_back(imgs.back().Step());
  }
  valid.roi = {kW, kH};
  valid.p = f.defaults;

  auto expect = [&](const CallArgs& a, OmbResult code, const std::string& what) {
    EXPECT_EQ(f.call(a), code) << what;
    for (std::size_t i = 0; i < imgs.size(); ++i) {
      EXPECT_TRUE(imgs[i].Unchanged()) << what << ", image " << i;
      imgs[i].Snapshot();
    }
  };
  const std::vector<Fault> faults = Faults(f);
  for (const Fault& a : faults) {
    CallArgs c = valid;
    a.apply(c);
    expect(c, a.code, a.what);
  }
  for (const Fault& a : faults) {
    for (const Fault& b : faults) {
      if (a.stage >= b.stage || a.field == b.field) continue;
      CallArgs c = valid;
      b.apply(c);
      a.apply(c);
      expect(c, a.code, a.what + " with " + b.what);
    }
    if (::testing::Test::HasFailure()) return;
  }
  EXPECT_EQ(f.call(valid), ombResultOk);
  for (std::size_t i = 0; i < imgs.size(); ++i) {
    if (f.images[i].output) {
      EXPECT_TRUE(imgs[i].GuardsIntact()) << "output image " << i;
    } else {
      EXPECT_TRUE(imgs[i].Unchanged()) << "input image " << i;
    }
  }
}

}  // namespace omb_test
