// SPDX-License-Identifier: MIT
// A component filter that frames another filter's bytes with a 128-byte inner header
// (magic, payload length, version, block mark), so that readers can skip blocks they do
// not know.
#pragma once

#include <qvmath/infra/component_filter.h>
#include <qvmath/infra/save_load_log.h>
#include <qvmath/platform/export.h>

#include <cstdint>
#include <string>

namespace KvF {

/// Wraps a component filter in an inner header. Block mark "Wrap", version 1; the
/// component name is the one given at construction.
///
/// Inner header, 128 bytes, little-endian, directly followed by the payload (the wrapped
/// filter's bytes):
///   offset  0, 10 bytes: "KvCmpWrp" and two zero bytes;
///   offset 10,  8 bytes: payload length, signed; -1 until the payload is complete;
///   offset 18,  4 bytes: the wrapped filter's version, signed;
///   offset 22, 30 bytes: its block mark, cut to 29 characters, zero-terminated and
///                        zero-padded;
///   offset 52, 76 bytes: zero.
///
/// Save: writes the header with length -1, lets the wrapped filter save, then moves back
/// to the length field, writes the payload length and moves forward to the end of the
/// payload; returns length + 128. The moves use the stream's 32-bit relative skip, so a
/// payload is limited to `getMaxPayloadSize()` bytes (2 GiB minus 129): a larger one
/// throws `CKorvaException` after the payload and leaves the length at -1, so the block
/// is rejected on load instead of being misread. Where the stream reports positions
/// (`getPosition() >= 0`), the count the wrapped filter returns must equal the bytes it
/// wrote, else `CKorvaException` is thrown before the patch, again leaving the length -1.
///
/// Load: reads the header. It is recognised when the magic matches (compared as
/// zero-terminated text) and 0 <= length <= `getMaxPayloadSize()` (a longer payload is
/// beyond every writer); otherwise `CUnknownFormatError` is thrown, in particular for the
/// -1 of an interrupted save. If the wrapped filter's block mark equals the header's
/// (exactly: a mark longer than 29 characters was cut on save and therefore never
/// matches, and such blocks are skipped) and its version equals the header's, the
/// wrapped filter loads; it must return exactly the recorded length (and, where the
/// stream reports positions, have moved the stream by it), else `CUnknownFormatError`.
/// Otherwise (no wrapped filter, another mark or version) the payload is skipped and the
/// component name logged with `kSaveLoadLogSkipped` (when a log is set and the name is not
/// empty). The skip moves length - 1 bytes and reads the last payload byte, so a payload
/// cut short by the end of the stream throws `CUnknownFormatError` (a file stream would
/// otherwise move past its end without complaint). Returns length + 128 in both cases.
///
/// Stream failures pass through as the stream's `CKorvaException`; nothing is repaired,
/// the stream position is wherever the failing operation left it.
/// Ownership: the wrapped filter, the stream and the log are referenced, not owned, and
/// must outlive the wrapper. Thread safety: one thread at a time.
class QVMATH_API CInnerHeaderWrapper : public IComponentFilter {
 public:
  /// Wraps `sub`; the stream is `sub->GetStream()`.
  /// @param[in] sub the wrapped filter, not owned.
  /// @param[in] log receives "skipped" entries; may be null.
  /// @param[in] name the component name for logs.
  /// @throws std::logic_error("Error: attempt to CInnerHeaderWrapper wraps empty
  ///         sub-filter.") when sub is null.
  CInnerHeaderWrapper(IComponentFilter* sub, ISaveLoadLog* log, std::wstring name);
  /// A wrapper without a wrapped filter: its load always skips the block. Its save
  /// throws std::logic_error("Internal logic error CInnerHeaderWrapper") before writing
  /// anything.
  CInnerHeaderWrapper(IKorvaBinaryStream& stream, ISaveLoadLog* log, std::wstring name);
  ~CInnerHeaderWrapper() override;

  /// @return true when there is a wrapped filter, i.e. when a load may read the payload.
  bool IsTryLoad() const { return m_sub != nullptr; }
  /// @return the size of the inner header in bytes: 128.
  static int getWrapHeaderSize();
  /// @return the largest payload a wrapped save can record: 2^31 - 129 bytes.
  static std::int64_t getMaxPayloadSize();

 private:
  std::int64_t OnSave() override;
  std::int64_t OnLoad(IDeltaStateLogger& logger) override;
  std::wstring OnGetComponentName() const override;
  std::string OnGetBlockMark() const override;
  int OnGetVersion() const override;
  IKorvaBinaryStream& OnGetStream() override;

  IComponentFilter* m_sub;
  IKorvaBinaryStream* m_stream;
  ISaveLoadLog* m_log;
  std::wstring m_name;
};

}  // namespace KvF
