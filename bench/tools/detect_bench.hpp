#pragma once

namespace ombbench {

// The omb tool's multi-scale cat-face detection on the bundled photograph.
void AddDetectBenchmarks();

}  // namespace ombbench
