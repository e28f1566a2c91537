#include "plant/TestSound.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "plant/PlantRandom.h"

namespace vrex::stub::plant {

namespace {

void PutLittleEndian(std::string& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

std::string WavHeader(std::uint32_t samples) {
  std::string header = "RIFF";
  PutLittleEndian(header, 36 + samples * 2, 4);
  header += "WAVEfmt ";
  PutLittleEndian(header, 16, 4);  // the format chunk's size
  PutLittleEndian(header, 1, 2);   // PCM
  PutLittleEndian(header, 1, 2);   // mono
  PutLittleEndian(header, kSoundRate, 4);
  PutLittleEndian(header, kSoundRate * 2, 4);  // bytes per second
  PutLittleEndian(header, 2, 2);               // bytes per sample
  PutLittleEndian(header, 16, 2);              // bits per sample
  header += "data";
  PutLittleEndian(header, samples * 2, 4);
  return header;
}

/// One period of the sound, in pascal.
std::vector<double> OnePeriod(const Korvan::KQ::DataContracts::Vector& spectrum,
                              std::uint64_t seed) {
  const double pi = std::acos(-1.0);
  const double start = spectrum.xaxisrange().start();
  const double delta = spectrum.xaxisrange().delta();
  PlantRandom random(seed ^ 0x5A5A5A5AULL);
  std::vector<double> period(kSoundPeriod, 0.0);
  for (int line = 0; line < spectrum.values_size(); ++line) {
    const double hz = start + delta * line;
    if (hz <= 0 || hz >= kSoundRate / 2.0) continue;
    const double amplitude =
        2e-5 * std::pow(10.0, spectrum.values(line).y() / 20.0) * std::sqrt(2.0);
    // A rotating phasor: one multiplication a sample instead of a sine.
    const std::complex<double> step = std::polar(1.0, 2 * pi * hz / kSoundRate);
    std::complex<double> phasor = std::polar(amplitude, random.Between(0, 2 * pi));
    for (double& sample : period) {
      sample += phasor.imag();
      phasor *= step;
    }
  }
  return period;
}

}  // namespace

std::string SynthesiseSound(const Korvan::KQ::DataContracts::Vector& spectrum, std::uint64_t seed,
                            int periods) {
  const std::vector<double> period = OnePeriod(spectrum, seed);
  double peak = 1e-12;
  for (double sample : period) peak = std::max(peak, std::abs(sample));
  const double scale = 0.9 * 32767 / peak;
  const auto samples = static_cast<std::uint32_t>(kSoundPeriod * periods);
  std::string wav = WavHeader(samples);
  wav.reserve(wav.size() + samples * 2);
  for (int p = 0; p < periods; ++p) {
    for (double sample : period) {
      const auto value = static_cast<std::int16_t>(std::lround(sample * scale));
      PutLittleEndian(wav, static_cast<std::uint16_t>(value), 2);
    }
  }
  return wav;
}

}  // namespace vrex::stub::plant
