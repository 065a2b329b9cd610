// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/infra/binary_stream.h>
#include <qvmath/infra/file_errors.h>
#include <qvmath/infra/inner_header_wrapper.h>
#include <qvmath/platform/korva_exception.h>

#include <cstdint>
#include <string>
#include <vector>

#include "failing_file.h"
#include "infra/stream_test_util.h"
#include "test_util.h"

using KvF::CInnerHeaderWrapper;
using qvtest::MemoryStream;
using qvtest::PayloadFilter;
using qvtest::RecordingLog;

namespace {

// Claims to have written `n` bytes without storing them (payloads of gigabytes).
struct ClaimFilter : PayloadFilter {
  ClaimFilter(MemoryStream& s, std::int64_t n) : PayloadFilter(s, "Claim", 0), m_s(s), m_n(n) {}
  std::int64_t OnSave() override {
    if (m_n > 0) m_s.Advance(static_cast<std::uint64_t>(m_n));
    return m_n;
  }
  MemoryStream& m_s;
  std::int64_t m_n;
};

}  // namespace

TEST(InnerHeaderWrapperTest, Format_HeaderBytesExactly) {
  MemoryStream stream;
  PayloadFilter sub(stream, "Mesh", 0x01020304, {9, 8, 7, 6, 5});
  CInnerHeaderWrapper wrapper(&sub, nullptr, L"mesh");
  EXPECT_EQ(wrapper.Save(), 133);
  EXPECT_EQ(stream.getPosition(), 133);  // left at the end of the payload
  // Magic, payload length (8 bytes), version (4), mark (30), zeros up to 128, payload.
  std::vector<unsigned char> expected = {'K', 'v', 'C', 'm', 'p', 'W', 'r', 'p', 0,
                                         0,   5,   0,   0,   0,   0,   0,   0,   0,
                                         4,   3,   2,   1,   'M', 'e', 's', 'h'};
  expected.resize(128, 0);
  expected.insert(expected.end(), {9, 8, 7, 6, 5});
  EXPECT_EQ(stream.Bytes(), expected);
}

TEST(InnerHeaderWrapperTest, RoundTrip_KnownBlocksLoadUnknownOnesAreSkippedAndLogged) {
  MemoryStream stream;
  qvtest::TestRng rng(4711);
  SCOPED_TRACE(rng.Trace());
  std::vector<unsigned char> big(1000);
  for (unsigned char& c : big) c = static_cast<unsigned char>(rng.Int(0, 255));

  // Block layout: A(1000) B(37) stub(0) long mark(3) nested(128 + 4). A mark longer than 29
  // is stored cut and terminated, and so never matches on load.
  const std::string longMark(35, 'm');
  PayloadFilter a(stream, "A", 1, big), b(stream, "B", 2, std::vector<unsigned char>(37, 0xB)),
      a2(stream, longMark, 1, {1, 2, 3}), inner(stream, "In", 7, {4, 4, 4, 4});
  KvF::CComponentFilterStub stub(L"stub", stream);
  CInnerHeaderWrapper innerWrap(&inner, nullptr, L"inner");
  std::int64_t written = 0;
  for (KvF::IComponentFilter* f :
       std::vector<KvF::IComponentFilter*>{&a, &b, &stub, &a2, &innerWrap}) {
    written += CInnerHeaderWrapper(f, nullptr, L"w").Save();
  }
  EXPECT_EQ(written, 1128 + 165 + 128 + 131 + 260);
  EXPECT_EQ(stream.getPosition(), written);
  EXPECT_EQ(std::string(stream.Bytes().begin() + 1421 + 22, stream.Bytes().begin() + 1421 + 52),
            longMark.substr(0, 29) + '\0');
  stream.Rewind();

  RecordingLog log;
  qvtest::NullDeltaLogger logger;
  PayloadFilter readA(stream, "A", 1), readB3(stream, "B", 3), readX(stream, longMark, 1),
      readIn(stream, "In", 7);
  readA.loadSize = 1000;
  readIn.loadSize = 4;
  CInnerHeaderWrapper readInWrap(&readIn, nullptr, L"inner");

  EXPECT_EQ(CInnerHeaderWrapper(&readA, &log, L"a").Load(logger), 1128);
  EXPECT_EQ(readA.loaded, big);
  EXPECT_EQ(CInnerHeaderWrapper(&readB3, &log, L"b").Load(logger), 165);    // other version
  EXPECT_EQ(CInnerHeaderWrapper(stream, &log, L"stub").Load(logger), 128);  // skip-only
  EXPECT_EQ(CInnerHeaderWrapper(&readX, &log, L"").Load(logger), 131);      // long mark
  EXPECT_EQ(CInnerHeaderWrapper(&readInWrap, &log, L"outer").Load(logger), 260);
  EXPECT_EQ(readIn.loaded, (std::vector<unsigned char>{4, 4, 4, 4}));
  EXPECT_EQ(stream.getPosition(), written);
  EXPECT_EQ(readB3.loads + readX.loads, 0);
  // Skips are logged with kind 2 under the wrapper's name; an empty name is not logged.
  ASSERT_EQ(log.entries.size(), 2u);
  EXPECT_EQ(log.entries[0], std::make_pair(std::wstring(L"b"), KvF::kSaveLoadLogSkipped));
  EXPECT_EQ(log.entries[1], std::make_pair(std::wstring(L"stub"), 2));
}

TEST(InnerHeaderWrapperTest, Rejected_UnrecognisedHeadersAndWrongCounts) {
  qvtest::NullDeltaLogger logger;
  MemoryStream good;
  PayloadFilter sub(good, "M", 1, {1, 2, 3});
  CInnerHeaderWrapper(&sub, nullptr, L"").Save();
  const std::vector<unsigned char> bytes = good.Bytes();

  auto loadFrom = [&](std::vector<unsigned char> data, std::size_t loadSize) {
    MemoryStream s;
    s.Bytes() = std::move(data);
    PayloadFilter reader(s, "M", 1);
    reader.loadSize = loadSize;
    return CInnerHeaderWrapper(&reader, nullptr, L"").Load(logger);
  };
  EXPECT_EQ(loadFrom(bytes, 3), 131);
  // The reader must consume exactly the recorded length.
  EXPECT_THROW(loadFrom(bytes, 2), KvF::CUnknownFormatError);
  EXPECT_THROW(loadFrom(bytes, 3 + 1), CKorvaException);  // reads past the end
  // Magic compared as text: a changed letter, or a byte that extends the text, is
  // refused; a byte after the terminator is not part of the text.
  for (std::size_t at : {0u, 7u, 8u}) {
    std::vector<unsigned char> bad = bytes;
    bad[at] = 'X';
    EXPECT_THROW(loadFrom(bad, 3), KvF::CUnknownFormatError) << "byte " << at;
  }
  std::vector<unsigned char> afterTerminator = bytes;
  afterTerminator[9] = 'X';
  EXPECT_EQ(loadFrom(afterTerminator, 3), 131);
  // Length -1 (save never completed) and lengths beyond any writer are rejected.
  for (std::uint64_t length :
       {~std::uint64_t{0}, std::uint64_t{1} << 40, std::uint64_t{0x80000000}}) {
    std::vector<unsigned char> bad = bytes;
    for (int i = 0; i < 8; ++i) bad[10 + i] = static_cast<unsigned char>(length >> (8 * i));
    EXPECT_THROW(loadFrom(bad, 3), KvF::CUnknownFormatError);
  }
}

TEST(InnerHeaderWrapperTest, Limit_PayloadMustFitTheRelativeSkip) {
  const std::int64_t max = CInnerHeaderWrapper::getMaxPayloadSize();
  EXPECT_EQ(max, 2147483647LL - 128);
  {
    MemoryStream stream(/*store=*/false);
    ClaimFilter sub(stream, max);
    EXPECT_EQ(CInnerHeaderWrapper(&sub, nullptr, L"").Save(), max + 128);
    // Back to the length field, then forward to the end of the payload.
    EXPECT_EQ(stream.skips, (std::vector<std::int32_t>{static_cast<std::int32_t>(-(max + 118)),
                                                       static_cast<std::int32_t>(max + 110)}));
    EXPECT_EQ(stream.getPosition(), max + 128);
  }
  for (std::int64_t n : {max + 1, std::int64_t{1} << 32, std::int64_t{-5}}) {
    MemoryStream stream(/*store=*/false);
    ClaimFilter sub(stream, n);
    EXPECT_THROW(CInnerHeaderWrapper(&sub, nullptr, L"").Save(), CKorvaException) << n;
    EXPECT_TRUE(stream.skips.empty()) << n;  // the header keeps its -1
  }
}

// A skipped block that ran past the end of the stream used to load as OK; a filter whose
// returned count disagreed with what it wrote got the length patched inside the header.
TEST(InnerHeaderWrapperTest, Regression_TruncationAndFalseByteCounts) {
  MemoryStream stream;
  PayloadFilter other(stream, "Other", 1, std::vector<unsigned char>(18, 7));
  CInnerHeaderWrapper(&other, nullptr, L"x").Save();
  std::vector<unsigned char>& bytes = stream.Bytes();
  ASSERT_EQ(bytes.size(), 146u);
  qvtest::NullDeltaLogger logger;
  for (std::uint64_t length : {19ull, 0x7FFFFFFFull - 128}) {
    for (int i = 0; i < 8; ++i) bytes[10 + i] = static_cast<unsigned char>(length >> (8 * i));
    stream.Rewind();
    CInnerHeaderWrapper skipper(stream, nullptr, L"x");
    EXPECT_THROW(skipper.Load(logger), KvF::CUnknownFormatError) << length;
  }

  MemoryStream out;
  struct Liar : PayloadFilter {  // writes 16 bytes, claims 10
    using PayloadFilter::PayloadFilter;
    std::int64_t OnSave() override {
      GetStream().writeData(16, payload.data());
      return 10;
    }
  } writer(out, "Liar", 1, std::vector<unsigned char>(16, 9));
  EXPECT_THROW(CInnerHeaderWrapper(&writer, nullptr, L"x").Save(), CKorvaException);
  ASSERT_EQ(out.Bytes().size(), 128u + 16u);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out.Bytes()[10 + i], 0xFF) << "length stays -1";
  for (int i = 128; i < 144; ++i) EXPECT_EQ(out.Bytes()[i], 9) << "payload intact";
}

// A save whose file fails at any write or seek throws the stream's error and never leaves
// a block that loads wrongly; the first budget that suffices gives a block that loads.
TEST(InnerHeaderWrapperTest, Failure_InjectedFileFailuresNeverLeaveAWrongBlock) {
  for (int kind = 0; kind < 2; ++kind) {
    bool saved = false;
    for (int budget = 0; !saved; ++budget) {
      ASSERT_LT(budget, 300);
      qvtest::FailingFile file;
      (kind ? file.seeks : file.writes) = budget;
      CFileBinaryStream stream(file.get());
      PayloadFilter sub(stream, "Sub", 2, std::vector<unsigned char>(40, 3));
      try {
        CInnerHeaderWrapper(&sub, nullptr, L"sub").Save();
        saved = true;
      } catch (const CKorvaException&) {
      }
      qvtest::FailingFile back(file.bytes);
      CFileBinaryStream in(back.get());
      PayloadFilter reader(in, "Sub", 2);
      reader.loadSize = 40;
      qvtest::NullDeltaLogger logger;
      // A failed save leaves either a block that is rejected or (when only the final move
      // failed) the complete block.
      try {
        EXPECT_EQ(CInnerHeaderWrapper(&reader, nullptr, L"sub").Load(logger), 168);
        EXPECT_EQ(reader.loaded, std::vector<unsigned char>(40, 3));
      } catch (const CKorvaException&) {
        EXPECT_FALSE(saved) << kind << " " << budget;
      }
    }
  }
}
