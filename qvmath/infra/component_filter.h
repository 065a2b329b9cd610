// SPDX-License-Identifier: MIT
// Component filters: the objects that save one component of a document to a binary stream
// and load it back, and the stub filter that stands in for an absent component.
#pragma once

#include <qvmath/infra/binary_stream.h>
#include <qvmath/infra/delta_state_logger.h>
#include <qvmath/platform/export.h>

#include <cstdint>
#include <string>

namespace KvF {

/// Saves one component of a document to its stream and loads it back. Each public
/// operation forwards to a private virtual hook that a concrete filter implements.
/// A block mark (narrow text) and a version identify the kind and layout of the bytes a
/// filter writes; `CInnerHeaderWrapper` records both so that readers can skip blocks
/// they do not know.
/// Virtual operations in slot order: the destructor, `OnSave`, `OnLoad`,
/// `OnGetComponentName`, `OnGetBlockMark`, `OnGetVersion`, `OnGetStream`.
/// Ownership: the stream is the caller's; a filter never closes or frees it.
/// Thread safety: a filter is used by one thread at a time.
class QVMATH_API IComponentFilter {
 public:
  virtual ~IComponentFilter();

  /// Writes the component at the stream's position.
  /// @return the number of bytes written.
  /// @throws whatever the stream or the filter throws (`CKorvaException` for streams).
  std::int64_t Save() { return OnSave(); }
  /// Reads the component from the stream's position, reporting new objects to `logger`.
  /// @return the number of bytes consumed.
  /// @throws the stream's `CKorvaException`, `CUnknownFormatError` for unreadable data,
  ///         or whatever the filter throws.
  std::int64_t Load(IDeltaStateLogger& logger) { return OnLoad(logger); }
  /// @return the component's name, for logs.
  std::wstring GetComponentName() const { return OnGetComponentName(); }
  /// @return the text identifying the kind of block the filter writes.
  std::string GetBlockMark() const { return OnGetBlockMark(); }
  /// @return the version of the filter's block layout.
  int GetVersion() const { return OnGetVersion(); }
  /// @return the stream the filter reads and writes.
  IKorvaBinaryStream& GetStream() { return OnGetStream(); }

 protected:
  IComponentFilter() = default;
  IComponentFilter(const IComponentFilter&) = default;
  IComponentFilter& operator=(const IComponentFilter&) = default;

 private:
  virtual std::int64_t OnSave() = 0;
  virtual std::int64_t OnLoad(IDeltaStateLogger& logger) = 0;
  virtual std::wstring OnGetComponentName() const = 0;
  virtual std::string OnGetBlockMark() const = 0;
  virtual int OnGetVersion() const = 0;
  virtual IKorvaBinaryStream& OnGetStream() = 0;
};

/// The filter of an absent component: block mark "STUB", version 0; saving writes nothing
/// and returns 0, loading reads nothing and returns 0. The name is the one given.
/// The stream is referenced, not owned, and must outlive the filter.
class QVMATH_API CComponentFilterStub : public IComponentFilter {
 public:
  /// @param[in] name the component name returned for logs.
  /// @param[in] stream the stream returned by `GetStream`.
  CComponentFilterStub(const std::wstring& name, IKorvaBinaryStream& stream)
      : m_name(name), m_stream(&stream) {}
  ~CComponentFilterStub() override;

 private:
  std::int64_t OnSave() override;
  std::int64_t OnLoad(IDeltaStateLogger& logger) override;
  std::wstring OnGetComponentName() const override;
  std::string OnGetBlockMark() const override;
  int OnGetVersion() const override;
  IKorvaBinaryStream& OnGetStream() override;

  std::wstring m_name;
  IKorvaBinaryStream* m_stream;
};

}  // namespace KvF
