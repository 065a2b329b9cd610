// SPDX-License-Identifier: MIT
// Test doubles of the save/load framework: an in-memory binary stream, a recording log,
// a delta-state logger that accepts everything, and a filter writing a known payload.
#pragma once

#include <qvmath/infra/binary_stream.h>
#include <qvmath/infra/component_filter.h>
#include <qvmath/infra/save_load_log.h>
#include <qvmath/platform/korva_exception.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace qvtest {

/// A growable byte array behind the stream interface, failing like a file: a read past
/// the end or a move before the start throws `CKorvaException`. With `store` false it
/// keeps no bytes (for payloads of gigabytes) and only tracks the position and the skips.
class MemoryStream : public IKorvaBinaryStream {
 public:
  explicit MemoryStream(bool store = true) : m_store(store) {}
  void readData(unsigned int size, void* buf) override {
    if (size == 0) return;
    if (m_pos + size > m_bytes.size()) throw CKorvaException("memory stream: end of data");
    std::memcpy(buf, m_bytes.data() + m_pos, size);
    m_pos += size;
  }
  void skipReadData(std::int32_t offset) override {
    skips.push_back(offset);
    if (offset < 0 && static_cast<std::uint64_t>(-std::int64_t{offset}) > m_pos) {
      throw CKorvaException("memory stream: before start");
    }
    m_pos = static_cast<std::uint64_t>(static_cast<std::int64_t>(m_pos) + offset);
  }
  void writeData(unsigned int size, const void* buf) override {
    if (m_store) {
      if (m_pos + size > m_bytes.size()) m_bytes.resize(m_pos + size);
      if (size) std::memcpy(m_bytes.data() + m_pos, buf, size);
    }
    m_pos += size;
  }
  std::int64_t getPosition() override { return static_cast<std::int64_t>(m_pos); }
  /// Moves the position as a payload of `size` unstored bytes would.
  void Advance(std::uint64_t size) { m_pos += size; }
  void Rewind() { m_pos = 0; }

  std::vector<unsigned char>& Bytes() { return m_bytes; }
  std::vector<std::int32_t> skips;

 private:
  bool m_store;
  std::vector<unsigned char> m_bytes;
  std::uint64_t m_pos = 0;
};

/// Records every log entry.
class RecordingLog : public KvF::ISaveLoadLog {
 public:
  std::vector<std::pair<std::wstring, int>> entries;

 private:
  void OnAddEntry(const std::wstring& name, int kind) override { entries.emplace_back(name, kind); }
};

/// Reports every object as status 0.
class NullDeltaLogger : public KvF::IDeltaStateLogger {
 public:
  KvF::DocumentNewObjectProcessStatus ProcessNewObject(KvF::INewObjEvent&) override {
    return KvF::DocumentNewObjectProcessStatus{};
  }
  void FinalizeLoading() override {}
};

/// Saves `payload` verbatim under the given mark and version; loading reads back
/// `loadSize` bytes (the payload size unless set otherwise) into `loaded`.
class PayloadFilter : public KvF::IComponentFilter {
 public:
  PayloadFilter(IKorvaBinaryStream& stream, std::string mark, int version,
                std::vector<unsigned char> payload = {})
      : payload(std::move(payload)),
        loadSize(this->payload.size()),
        m_stream(&stream),
        m_mark(std::move(mark)),
        m_version(version) {}

  std::vector<unsigned char> payload;
  std::size_t loadSize;
  std::vector<unsigned char> loaded;
  int loads = 0;

 private:
  std::int64_t OnSave() override {
    m_stream->writeData(static_cast<unsigned int>(payload.size()), payload.data());
    return static_cast<std::int64_t>(payload.size());
  }
  std::int64_t OnLoad(KvF::IDeltaStateLogger&) override {
    ++loads;
    loaded.assign(loadSize, 0);
    m_stream->readData(static_cast<unsigned int>(loadSize), loaded.data());
    return static_cast<std::int64_t>(loadSize);
  }
  std::wstring OnGetComponentName() const override { return L"payload"; }
  std::string OnGetBlockMark() const override { return m_mark; }
  int OnGetVersion() const override { return m_version; }
  IKorvaBinaryStream& OnGetStream() override { return *m_stream; }

  IKorvaBinaryStream* m_stream;
  std::string m_mark;
  int m_version;
};

}  // namespace qvtest
