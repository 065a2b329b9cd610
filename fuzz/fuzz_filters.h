// SPDX-License-Identifier: MIT
// Component-filter doubles shared by the wrapper fuzz target and the seed writer.
#pragma once

#include <qvmath/infra/component_filter.h>
#include <qvmath/infra/delta_state_logger.h>
#include <qvmath/infra/save_load_log.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qvfuzz {

/// A component whose bytes are a 32-bit little-endian length L and L bytes of blob. Loading
/// reads them back through a small buffer (a corrupt L costs no memory) and returns 4 + L.
class BlobFilter : public KvF::IComponentFilter {
 public:
  BlobFilter(IKorvaBinaryStream& stream, std::string mark, int version,
             std::vector<std::uint8_t> blob = {})
      : m_stream(&stream), m_mark(std::move(mark)), m_version(version), m_blob(std::move(blob)) {}

  int loads = 0;  ///< completed loads

 private:
  std::int64_t OnSave() override {
    const std::uint32_t n = static_cast<std::uint32_t>(m_blob.size());
    std::uint8_t length[4];
    for (int i = 0; i < 4; ++i) length[i] = static_cast<std::uint8_t>(n >> (8 * i));
    m_stream->writeData(4, length);
    m_stream->writeData(n, m_blob.data());
    return 4 + std::int64_t{n};
  }
  std::int64_t OnLoad(KvF::IDeltaStateLogger&) override {
    std::uint8_t length[4];
    m_stream->readData(4, length);
    std::uint32_t n = 0;
    for (int i = 0; i < 4; ++i) n |= std::uint32_t{length[i]} << (8 * i);
    std::uint8_t chunk[4096];
    for (std::uint32_t left = n; left > 0;) {
      const std::uint32_t step = left < sizeof chunk ? left : sizeof chunk;
      m_stream->readData(step, chunk);
      left -= step;
    }
    ++loads;
    return 4 + std::int64_t{n};
  }
  std::wstring OnGetComponentName() const override { return L"blob"; }
  std::string OnGetBlockMark() const override { return m_mark; }
  int OnGetVersion() const override { return m_version; }
  IKorvaBinaryStream& OnGetStream() override { return *m_stream; }

  IKorvaBinaryStream* m_stream;
  std::string m_mark;
  int m_version;
  std::vector<std::uint8_t> m_blob;
};

/// Block marks the wrapper target chooses from: a short one, another one, one of exactly
/// 29 characters (the longest a header keeps) and one of 30 (cut on save, never matched).
inline const char* const kBlockMarks[4] = {"Blob", "Other", "Mark of exactly 29 characters",
                                           "Mark of exactly 30 characters."};

/// Counts the "skipped" entries it receives.
class CountingLog : public KvF::ISaveLoadLog {
 public:
  int skipped = 0;

 private:
  void OnAddEntry(const std::wstring& name, int kind) override {
    if (!name.empty() && kind == KvF::kSaveLoadLogSkipped) ++skipped;
  }
};

/// Accepts every object.
class NullDeltaLogger : public KvF::IDeltaStateLogger {
 public:
  KvF::DocumentNewObjectProcessStatus ProcessNewObject(KvF::INewObjEvent&) override {
    return KvF::DocumentNewObjectProcessStatus{};
  }
  void FinalizeLoading() override {}
};

}  // namespace qvfuzz
