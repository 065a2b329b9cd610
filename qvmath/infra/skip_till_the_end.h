// SPDX-License-Identifier: MIT
// A component filter that consumes the rest of a stream, for the trailing data of a
// document that the reader does not understand.
#pragma once

#include <qvmath/infra/component_filter.h>
#include <qvmath/infra/save_load_log.h>
#include <qvmath/platform/export.h>

#include <cstdint>
#include <string>

namespace KvF {

/// Block mark "SkipTillEnd", version 0. Saving writes nothing and returns 0. Loading reads
/// the stream one byte at a time until a read throws `CKorvaException` (the end of the
/// stream), then logs the component name as skipped (`kSaveLoadLogSkipped`) when a log is
/// set and the name is not empty, and returns the number of bytes read (0 on a stream
/// already at its end).
/// @throws CFileReadError from `Load` when 5,000,000,000 bytes were read without reaching
///         the end (a stream that never ends).
/// The stream and the log are referenced, not owned, and must outlive the filter.
class QVMATH_API CSkipTillTheEnd : public IComponentFilter {
 public:
  /// @param[in] stream the stream to consume.
  /// @param[in] log receives the "skipped" entry; may be null.
  /// @param[in] name the component name for the log; an empty name is not logged.
  CSkipTillTheEnd(IKorvaBinaryStream& stream, ISaveLoadLog* log, std::wstring name)
      : m_stream(&stream), m_log(log), m_name(std::move(name)) {}
  ~CSkipTillTheEnd() override;

 private:
  std::int64_t OnSave() override;
  std::int64_t OnLoad(IDeltaStateLogger& logger) override;
  std::wstring OnGetComponentName() const override;
  std::string OnGetBlockMark() const override;
  int OnGetVersion() const override;
  IKorvaBinaryStream& OnGetStream() override;

  IKorvaBinaryStream* m_stream;
  ISaveLoadLog* m_log;
  std::wstring m_name;
};

}  // namespace KvF
