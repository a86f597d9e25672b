#pragma once

/// \file
/// What the processor can do, for kernels that come in several versions. All versions give the same bytes.

namespace velmont {

enum class CpuLevel {
    Baseline, ///< what every build may use: the plain versions
    Avx2,
    Avx512, ///< F, BW, VL, VBMI and VNNI
};

/// The level of this machine, held to the limit that was set.
CpuLevel cpuLevel();
/// Holds kernels to a level, for tests and benchmarks.
void limitCpuLevel(CpuLevel highest);

} // namespace velmont
