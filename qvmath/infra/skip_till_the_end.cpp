// SPDX-License-Identifier: MIT
#include <qvmath/infra/file_errors.h>
#include <qvmath/infra/skip_till_the_end.h>
#include <qvmath/platform/korva_exception.h>

namespace KvF {

namespace {

// A stream still not at its end after this many bytes is taken to be endless.
constexpr std::int64_t kMaxSkippedBytes = 5000000000LL;

}  // namespace

CSkipTillTheEnd::~CSkipTillTheEnd() = default;

std::int64_t CSkipTillTheEnd::OnSave() { return 0; }

std::int64_t CSkipTillTheEnd::OnLoad(IDeltaStateLogger&) {
  // The stream interface has no "end reached" query: the only portable test is a read
  // that fails, hence one byte at a time.
  std::int64_t count = 0;
  for (;;) {
    if (count >= kMaxSkippedBytes) throw CFileReadError();
    unsigned char byte;
    try {
      m_stream->readData(1, &byte);
    } catch (const CKorvaException&) {
      break;
    }
    ++count;
  }
  detail::LogSkippedComponent(m_log, m_name);
  return count;
}

std::wstring CSkipTillTheEnd::OnGetComponentName() const { return m_name; }

std::string CSkipTillTheEnd::OnGetBlockMark() const { return "SkipTillEnd"; }

int CSkipTillTheEnd::OnGetVersion() const { return 0; }

IKorvaBinaryStream& CSkipTillTheEnd::OnGetStream() { return *m_stream; }

}  // namespace KvF
