#pragma once
// Random numbers whose seed a failure prints. ORBMATH_TEST_SEED gives the seed of a rerun.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

namespace orbmath_test {

/// A generator for one test. The seed is the same in every run unless ORBMATH_TEST_SEED is set; `tag` keeps the tests
/// apart. Every failure while it lives names seed and tag.
class Random {
 public:
  explicit Random(const std::string& tag)
      : seed_(SeedFromEnvironment()),
        trace_(__FILE__, __LINE__, "ORBMATH_TEST_SEED=" + std::to_string(seed_) + " tag " + tag) {
    std::seed_seq sequence(tag.begin(), tag.end());
    std::uint32_t from_tag[1];
    sequence.generate(from_tag, from_tag + 1);
    engine_.seed(seed_ ^ (static_cast<std::uint64_t>(from_tag[0]) << 20));
  }

  /// Uniform in [low, high).
  double Uniform(double low, double high) { return std::uniform_real_distribution<double>(low, high)(engine_); }
  /// Normal with mean 0.
  double Normal(double sigma) { return std::normal_distribution<double>(0.0, sigma)(engine_); }
  /// Uniform in [0, count).
  std::size_t Index(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(engine_); }
  std::mt19937_64& Engine() { return engine_; }

 private:
  static std::uint64_t SeedFromEnvironment() {
    const char* text = std::getenv("ORBMATH_TEST_SEED");
    return text == nullptr ? 20240229u : std::strtoull(text, nullptr, 10);
  }

  std::uint64_t seed_;
  ::testing::ScopedTrace trace_;
  std::mt19937_64 engine_;
};

}  // namespace orbmath_test
