// SPDX-License-Identifier: MIT
#include <qvmath/infra/binary_stream.h>
#include <qvmath/platform/korva_exception.h>
#include <sys/types.h>

namespace {

const char kReadErrorText[] = "Unexpected end of file. Probably corrupted data.";
const char kWriteErrorText[] =
    "Impossible write to file. Probably not enough free disk space or unexpected internal error.";

}  // namespace

IKorvaBinaryStream::~IKorvaBinaryStream() = default;

CFileBinaryStream::~CFileBinaryStream() = default;

void CFileBinaryStream::readData(unsigned int size, void* buf) {
  if (size == 0) return;
  if (!m_file || std::fread(buf, size, 1, m_file) != 1) throw CKorvaException(kReadErrorText);
}

void CFileBinaryStream::skipReadData(std::int32_t offset) {
  if (offset == 0) return;
  if (!m_file || fseeko(m_file, static_cast<off_t>(offset), SEEK_CUR) != 0) {
    throw CKorvaException(kReadErrorText);
  }
}

void CFileBinaryStream::writeData(unsigned int size, const void* buf) {
  if (size == 0) return;
  if (!m_file || std::fwrite(buf, size, 1, m_file) != 1) throw CKorvaException(kWriteErrorText);
}

std::int64_t CFileBinaryStream::getPosition() {
  if (!m_file) return -1;
  return static_cast<std::int64_t>(ftello(m_file));
}

CFileWrapClose::~CFileWrapClose() { release(); }

void CFileWrapClose::release() {
  if (m_file) std::fclose(m_file);
  m_file = nullptr;
}
