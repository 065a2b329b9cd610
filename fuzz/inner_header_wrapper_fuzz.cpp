// SPDX-License-Identifier: MIT
// Fuzzes the reading of a document made of wrapped blocks: CInnerHeaderWrapper loads blocks
// from an arbitrary byte stream until one is refused, then CSkipTillTheEnd consumes the rest.
// The last input byte chooses the reader (wrapped filter or skip-only, block mark, version,
// component name, whether the stream knows its position); the other bytes are the stream.
// Oracle: every accepted block advances the stream by exactly the count returned and ends
// within the file; skipped blocks are logged once each; the tail count is the number of
// bytes left in the stream; refusals are CKorvaException (CUnknownFormatError included) and
// nothing else.
#include <fuzzer/FuzzedDataProvider.h>
#include <qvmath/infra/binary_stream.h>
#include <qvmath/infra/inner_header_wrapper.h>
#include <qvmath/infra/skip_till_the_end.h>
#include <qvmath/platform/korva_exception.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_file.h"
#include "fuzz_filters.h"

namespace {

// Forwards to a file stream; when `hide` is set it reports its position as unknown (-1),
// as streams without positions (pipes, sockets) do.
class ForwardingStream : public IKorvaBinaryStream {
 public:
  ForwardingStream(IKorvaBinaryStream& to, bool hide) : m_to(&to), m_hide(hide) {}
  void readData(unsigned int size, void* buf) override { m_to->readData(size, buf); }
  void skipReadData(std::int32_t offset) override { m_to->skipReadData(offset); }
  void writeData(unsigned int size, const void* buf) override { m_to->writeData(size, buf); }
  std::int64_t getPosition() override { return m_hide ? -1 : m_to->getPosition(); }

 private:
  IKorvaBinaryStream* m_to;
  bool m_hide;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  const unsigned config = in.ConsumeIntegral<std::uint8_t>();  // the last byte
  const std::vector<std::uint8_t> bytes = in.ConsumeRemainingBytes<std::uint8_t>();
  qvfuzz::MemoryFile file(bytes.data(), bytes.size());
  CFileBinaryStream fileStream(file.get());
  ForwardingStream stream(fileStream, (config & 1) != 0);

  qvfuzz::BlobFilter blob(stream, qvfuzz::kBlockMarks[(config >> 1) & 3], (config >> 3) & 1);
  qvfuzz::CountingLog log;
  const std::wstring name = (config & 0x20) ? L"" : L"document part";
  std::unique_ptr<KvF::CInnerHeaderWrapper> wrapper =
      (config & 0x10) ? std::make_unique<KvF::CInnerHeaderWrapper>(stream, &log, name)
                      : std::make_unique<KvF::CInnerHeaderWrapper>(&blob, &log, name);
  qvfuzz::NullDeltaLogger logger;

  int skipped = 0;
  for (int block = 0; block < 64; ++block) {
    const std::int64_t start = fileStream.getPosition();
    const int loadsBefore = blob.loads;
    std::int64_t consumed = 0;
    try {
      consumed = wrapper->Load(logger);
    } catch (const CKorvaException&) {
      break;
    }
    QVFUZZ_CHECK(consumed >= KvF::CInnerHeaderWrapper::getWrapHeaderSize());
    QVFUZZ_CHECK(consumed - KvF::CInnerHeaderWrapper::getWrapHeaderSize() <=
                 KvF::CInnerHeaderWrapper::getMaxPayloadSize());
    QVFUZZ_CHECK(fileStream.getPosition() - start == consumed);
    // An accepted block, skipped or loaded, never reaches past the end of the file.
    QVFUZZ_CHECK(fileStream.getPosition() <= std::int64_t(file.size()));
    if (blob.loads == loadsBefore) ++skipped;
  }
  QVFUZZ_CHECK(log.skipped == (name.empty() ? 0 : skipped));

  const std::int64_t rest = file.size() - fileStream.getPosition();
  KvF::CSkipTillTheEnd tail(stream, &log, name);
  QVFUZZ_CHECK(tail.Load(logger) == (rest > 0 ? rest : 0));
  QVFUZZ_CHECK(log.skipped == (name.empty() ? 0 : skipped + 1));
  return 0;
}
