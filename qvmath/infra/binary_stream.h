// SPDX-License-Identifier: MIT
// Binary streams: the abstract stream that component filters read and write, its
// implementation over a runtime-library file handle, and an owning file-handle holder.
#pragma once

#include <qvmath/platform/export.h>

#include <cstdint>
#include <cstdio>

/// A sequential binary stream with relative skips and a 64-bit position, through which
/// documents are saved and loaded. Implementations report every failure by throwing
/// `CKorvaException` (or a class derived from it).
/// Virtual operations in slot order: `readData`, `skipReadData`, `writeData`,
/// `getPosition`, the destructor.
/// Thread safety: a stream is used by one thread at a time.
class QVMATH_API IKorvaBinaryStream {
 public:
  /// Reads exactly `size` bytes into buf[0..size).
  /// @throws CKorvaException when fewer bytes are available (the end of the stream).
  virtual void readData(unsigned int size, void* buf) = 0;
  /// Moves the position by `offset` bytes from the current one; negative moves back.
  /// The offset is 32 bits wide on every platform, as on the original 32-bit one: callers
  /// needing longer moves split them.
  /// @throws CKorvaException when the stream cannot move.
  virtual void skipReadData(std::int32_t offset) = 0;
  /// Writes buf[0..size).
  /// @throws CKorvaException when not every byte could be written.
  virtual void writeData(unsigned int size, const void* buf) = 0;
  /// @return the current position in bytes from the start, or -1 when it is unknown.
  virtual std::int64_t getPosition() = 0;
  virtual ~IKorvaBinaryStream();

 protected:
  IKorvaBinaryStream() = default;
  IKorvaBinaryStream(const IKorvaBinaryStream&) = default;
  IKorvaBinaryStream& operator=(const IKorvaBinaryStream&) = default;
};

/// `IKorvaBinaryStream` over a `FILE*` opened in binary mode by the caller, who keeps
/// ownership (the stream never closes it). Positions are 64-bit, so files beyond 2 GiB
/// work. A null file makes every non-empty transfer or skip fail with the messages below
/// and `getPosition` return -1.
/// Failure texts, exactly: reads and skips throw `CKorvaException("Unexpected end of file.
/// Probably corrupted data.")`; writes throw `CKorvaException("Impossible write to file.
/// Probably not enough free disk space or unexpected internal error.")`. Nothing is
/// repaired: after a failure the file position is wherever the failing call left it.
class QVMATH_API CFileBinaryStream : public IKorvaBinaryStream {
 public:
  /// @param[in] file an open binary file, not owned; may be null (see above).
  explicit CFileBinaryStream(std::FILE* file) : m_file(file) {}
  ~CFileBinaryStream() override;

  /// One `fread` of `size` bytes as a single item; size 0 does nothing.
  void readData(unsigned int size, void* buf) override;
  /// `fseek` from the current position; offset 0 does nothing.
  void skipReadData(std::int32_t offset) override;
  /// One `fwrite` of `size` bytes; size 0 does nothing. Data may stay in the file's
  /// buffer until the caller flushes or closes it.
  void writeData(unsigned int size, const void* buf) override;
  /// @return the 64-bit file position (`ftello`), -1 on failure.
  std::int64_t getPosition() override;

  /// @return the file given at construction.
  std::FILE* Deprecated_GetFilePtr() const { return m_file; }

 private:
  std::FILE* m_file;
};

/// Owns a `FILE*` and closes it on `release()` or destruction (whichever comes first).
/// Not copyable; the holder is the only owner.
class QVMATH_API CFileWrapClose {
 public:
  /// @param[in] file an open file to own, or null.
  explicit CFileWrapClose(std::FILE* file) : m_file(file) {}
  ~CFileWrapClose();
  CFileWrapClose(const CFileWrapClose&) = delete;
  CFileWrapClose& operator=(const CFileWrapClose&) = delete;

  /// @return the owned file, null after `release()`.
  std::FILE* FilePtr() const { return m_file; }
  /// Closes the file, if there is one, and forgets it. A failure of `fclose` is ignored
  /// (the handle is gone either way); flush first when the write must be confirmed.
  void release();

 private:
  std::FILE* m_file;
};
