#pragma once
// A test's sound: a WAV file (16-bit PCM, mono, 16 kHz) synthesised from the
// test's idle spectrum, one sine per spectral line at the line's level with a
// phase drawn from the test's seed. Every line is a whole number of periods
// of 0.8 s, so a DFT of any 0.8 s of it shows the spectrum's lines again.

#include <cstdint>
#include <string>

#include "Vector.pb.h"

namespace vrex::stub::plant {

inline constexpr int kSoundRate = 16000;
/// Samples in which every spectral line completes whole periods.
inline constexpr int kSoundPeriod = 12800;

/// The WAV file's bytes: `periods` times kSoundPeriod samples.
std::string SynthesiseSound(const Korvan::KQ::DataContracts::Vector& spectrum, std::uint64_t seed,
                            int periods = 4);

}  // namespace vrex::stub::plant
