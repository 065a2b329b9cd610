// SPDX-License-Identifier: MIT
#include <qvmath/infra/file_errors.h>
#include <qvmath/infra/inner_header_wrapper.h>
#include <qvmath/platform/korva_exception.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace KvF {

namespace {

constexpr int kHeaderSize = 128;
constexpr char kMagic[] = "KvCmpWrp";
constexpr int kMagicOffset = 0, kMagicSize = 10;
constexpr int kLengthOffset = 10;
constexpr int kVersionOffset = 18;
constexpr int kMarkOffset = 22, kMarkSize = 30;
// The patch moves back over the payload and the header from the length field on (n + 118)
// and forward again (n + 110) with a 32-bit relative skip; with n at most 2^31 - 129 every
// move fits, with room to spare for the whole block (n + 128) as well.
constexpr std::int64_t kMaxPayload = INT32_MAX - kHeaderSize;
constexpr std::int64_t kBackToLength = kHeaderSize - kLengthOffset;  // 118
constexpr std::int64_t kForwardToEnd = kBackToLength - 8;            // 110

// The header is assembled and parsed byte by byte: its fields are unaligned and
// little-endian whatever the host.
void PutLE(unsigned char* at, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) at[i] = static_cast<unsigned char>(value >> (8 * i));
}

std::uint64_t GetLE(const unsigned char* at, int bytes) {
  std::uint64_t value = 0;
  for (int i = 0; i < bytes; ++i) value |= std::uint64_t{at[i]} << (8 * i);
  return value;
}

// A zero-terminated text field of at most `size` bytes (no terminator when full).
std::string GetText(const unsigned char* at, int size) {
  const char* text = reinterpret_cast<const char*>(at);
  return std::string(text, std::find(text, text + size, '\0'));
}

}  // namespace

CInnerHeaderWrapper::CInnerHeaderWrapper(IComponentFilter* sub, ISaveLoadLog* log,
                                         std::wstring name)
    : m_sub(sub), m_stream(nullptr), m_log(log), m_name(std::move(name)) {
  if (!m_sub)
    throw std::logic_error("Error: attempt to CInnerHeaderWrapper wraps empty sub-filter.");
  m_stream = &m_sub->GetStream();
}

CInnerHeaderWrapper::CInnerHeaderWrapper(IKorvaBinaryStream& stream, ISaveLoadLog* log,
                                         std::wstring name)
    : m_sub(nullptr), m_stream(&stream), m_log(log), m_name(std::move(name)) {}

CInnerHeaderWrapper::~CInnerHeaderWrapper() = default;

int CInnerHeaderWrapper::getWrapHeaderSize() { return kHeaderSize; }

std::int64_t CInnerHeaderWrapper::getMaxPayloadSize() { return kMaxPayload; }

std::int64_t CInnerHeaderWrapper::OnSave() {
  // Checked before the header is written: a wrapper for skipping only has no version or
  // mark to record, and a half-written block would serve nobody.
  if (!m_sub) throw std::logic_error("Internal logic error CInnerHeaderWrapper");

  unsigned char header[kHeaderSize] = {};
  std::memcpy(header + kMagicOffset, kMagic, sizeof kMagic - 1);
  PutLE(header + kLengthOffset, static_cast<std::uint64_t>(std::int64_t{-1}), 8);
  PutLE(header + kVersionOffset, static_cast<std::uint32_t>(m_sub->GetVersion()), 4);
  const std::string mark = m_sub->GetBlockMark();
  std::memcpy(header + kMarkOffset, mark.data(), std::min<std::size_t>(mark.size(), kMarkSize - 1));
  m_stream->writeData(kHeaderSize, header);
  const std::int64_t start = m_stream->getPosition();

  const std::int64_t n = m_sub->Save();
  if (n < 0 || n > kMaxPayload) {
    throw CKorvaException("CInnerHeaderWrapper: the component '" + m_sub->GetBlockMark() +
                          "' wrote " + std::to_string(n) +
                          " bytes; an inner header records at most " + std::to_string(kMaxPayload) +
                          ". Its length stays unset (-1).");
  }
  // The patch moves back by the count the filter returned: a count that disagrees with
  // what it wrote would put the length inside the header or the payload.
  const std::int64_t end = m_stream->getPosition();
  if (start >= 0 && end >= 0 && end - start != n) {
    throw CKorvaException("CInnerHeaderWrapper: the component '" + m_sub->GetBlockMark() +
                          "' reported " + std::to_string(n) + " bytes but wrote " +
                          std::to_string(end - start) + ". Its length stays unset (-1).");
  }
  unsigned char length[8];
  PutLE(length, static_cast<std::uint64_t>(n), 8);
  m_stream->skipReadData(static_cast<std::int32_t>(-(n + kBackToLength)));
  m_stream->writeData(8, length);
  m_stream->skipReadData(static_cast<std::int32_t>(n + kForwardToEnd));
  return n + kHeaderSize;
}

std::int64_t CInnerHeaderWrapper::OnLoad(IDeltaStateLogger& logger) {
  unsigned char header[kHeaderSize];
  m_stream->readData(kHeaderSize, header);
  const std::int64_t length = static_cast<std::int64_t>(GetLE(header + kLengthOffset, 8));
  if (GetText(header + kMagicOffset, kMagicSize) != kMagic || length < 0 || length > kMaxPayload) {
    throw CUnknownFormatError();
  }
  const int version = static_cast<std::int32_t>(GetLE(header + kVersionOffset, 4));
  const std::string mark = GetText(header + kMarkOffset, kMarkSize);

  if (m_sub && m_sub->GetBlockMark() == mark && m_sub->GetVersion() == version) {
    const std::int64_t start = m_stream->getPosition();
    const std::int64_t n = m_sub->Load(logger);
    if (n != length) throw CUnknownFormatError();
    const std::int64_t end = m_stream->getPosition();
    if (start >= 0 && end >= 0 && end - start != n) throw CUnknownFormatError();
    return n + kHeaderSize;
  }
  // A file stream moves past its end without complaint, so the skip stops one byte short
  // and reads the payload's last byte: a block cut short by the end of the stream is a
  // format error, not a success.
  if (length > 0) {
    m_stream->skipReadData(static_cast<std::int32_t>(length - 1));
    unsigned char last;
    try {
      m_stream->readData(1, &last);
    } catch (const CKorvaException&) {
      throw CUnknownFormatError();
    }
  }
  detail::LogSkippedComponent(m_log, m_name);
  return length + kHeaderSize;
}

std::wstring CInnerHeaderWrapper::OnGetComponentName() const { return m_name; }

std::string CInnerHeaderWrapper::OnGetBlockMark() const { return "Wrap"; }

int CInnerHeaderWrapper::OnGetVersion() const { return 1; }

IKorvaBinaryStream& CInnerHeaderWrapper::OnGetStream() { return *m_stream; }

}  // namespace KvF
