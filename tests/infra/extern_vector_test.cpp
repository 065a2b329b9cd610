// SPDX-License-Identifier: MIT
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <qvmath/infra/extern_vector.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "test_util.h"

// A shim over the stdio calls of the library: this program's definitions take precedence
// over the C library's for every caller in the process, and forward to the next definition
// (the C library's, or a sanitizer's) until a test arms a failure. g_budget[kind] is the
// number of calls of that kind that still succeed (-1: unlimited).
namespace {
enum StdioKind { kSeek, kRead, kWrite, kFlush, kTell, kKinds };
int g_budget[kKinds] = {-1, -1, -1, -1, -1};
bool Fails(StdioKind kind) {
  if (g_budget[kind] < 0) return false;
  if (g_budget[kind] == 0) return true;  // stays failing until the test disarms it
  --g_budget[kind];
  return false;
}
template <class F>
F Next(const char* name) {
  return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}
}  // namespace
extern "C" {
int fseeko(FILE* f, off_t offset, int whence) {
  static auto next = Next<int (*)(FILE*, off_t, int)>("fseeko");
  return Fails(kSeek) ? (errno = EIO, -1) : next(f, offset, whence);
}
off_t ftello(FILE* f) {
  static auto next = Next<off_t (*)(FILE*)>("ftello");
  return Fails(kTell) ? (errno = EIO, -1) : next(f);
}
size_t fread(void* buf, size_t size, size_t n, FILE* f) {
  static auto next = Next<size_t (*)(void*, size_t, size_t, FILE*)>("fread");
  return Fails(kRead) ? 0 : next(buf, size, n, f);
}
size_t fwrite(const void* buf, size_t size, size_t n, FILE* f) {
  static auto next = Next<size_t (*)(const void*, size_t, size_t, FILE*)>("fwrite");
  return Fails(kWrite) ? 0 : next(buf, size, n, f);
}
int fflush(FILE* f) {
  static auto next = Next<int (*)(FILE*)>("fflush");
  return Fails(kFlush) ? (errno = EIO, EOF) : next(f);
}
}

using KorvaExtVec::CreateExternVectorVoid;
using KorvaExtVec::ExternVectorVoidInterface;
using Bytes = std::vector<unsigned char>;

namespace {

constexpr unsigned int kMaxCount = 0x7FFFFFFFu;

// Every test runs with TMP set to a private empty directory and checks afterwards that
// nothing was left in it.
class ExternVectorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const char* old = std::getenv("TMP")) m_oldTmp = old;
    char pattern[] = "/tmp/qvmath_extvec_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    m_dir = pattern;
    setenv("TMP", m_dir.c_str(), 1);
  }
  void TearDown() override {
    EXPECT_EQ(rmdir(m_dir.c_str()), 0) << "files left in " << m_dir;
    m_oldTmp.empty() ? unsetenv("TMP") : setenv("TMP", m_oldTmp.c_str(), 1);
  }
  // Descriptors this process has open (the vector's file is one while it exists).
  static long OpenFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }
  std::string m_dir, m_oldTmp;
};

Bytes Read(ExternVectorVoidInterface& v, unsigned int index, unsigned int elementSize) {
  void* h = nullptr;
  const unsigned char* p = static_cast<const unsigned char*>(v.lock(index, h));
  Bytes out(p, p + elementSize);
  v.release(false, h);
  return out;
}

}  // namespace

TEST_F(ExternVectorTest, Properties_RandomOperationsMatchAnInMemoryOracle) {
  for (unsigned int es : {1u, 12u, 4096u}) {
    qvtest::TestRng rng(1000 + es);
    SCOPED_TRACE(rng.Trace() + ", element size " + std::to_string(es));
    std::unique_ptr<ExternVectorVoidInterface> v(CreateExternVectorVoid(es));
    // The oracle: element contents as the file holds them (empty = unspecified), and the
    // live locks with the contents their shared buffer holds.
    std::vector<Bytes> file;
    struct Live {
      void* handle;
      unsigned char* buf;
      int count;
      bool dirty;
    };
    std::map<unsigned int, Live> live;
    std::vector<void*> dropped;  // handles of locks ended by a shrink
    unsigned int expectedCapacity = 0;
    const unsigned int maxCount = es == 4096 ? 60 : 400;

    auto randomBytes = [&] {
      Bytes b(es);
      for (unsigned char& c : b) c = static_cast<unsigned char>(rng.Int(0, 255));
      return b;
    };
    auto below = [&](std::size_t n) { return static_cast<unsigned int>(rng.Int(0, int(n) - 1)); };
    for (int step = 0; step < 3000; ++step) {
      const int op = rng.Int(0, 99);
      const unsigned int size = static_cast<unsigned int>(file.size());
      if (op < 6) {  // resize
        const unsigned int count = below(maxCount + 1);
        const bool withFill = rng.Int(0, 3) != 0;
        const Bytes fill = randomBytes();
        v->resize(count, withFill ? fill.data() : nullptr);
        if (count > expectedCapacity) {
          expectedCapacity = std::max(count, std::min(2 * expectedCapacity, kMaxCount));
        }
        if (count < size) {
          for (auto it = live.lower_bound(count); it != live.end(); it = live.erase(it)) {
            dropped.push_back(it->second.handle);
          }
        }
        file.resize(count, withFill ? fill : Bytes());
      } else if (op < 8) {  // reserve
        const unsigned int count = below(maxCount + 1);
        v->reserve(count);
        expectedCapacity = std::max(expectedCapacity, count);
      } else if (op < 10 && !dropped.empty()) {  // release of a dropped lock: no effect
        v->release(rng.Int(0, 1) != 0, dropped.back());
        dropped.pop_back();
      } else if (op < 40 && size > 0) {  // lock
        const unsigned int i = below(size);
        void* h = nullptr;
        unsigned char* p = static_cast<unsigned char*>(v->lock(i, h));
        auto it = live.find(i);
        if (it != live.end()) {
          ASSERT_EQ(p, it->second.buf);
          ASSERT_EQ(h, it->second.handle);
          ++it->second.count;
        } else {
          if (!file[i].empty()) {
            ASSERT_EQ(Bytes(p, p + es), file[i]) << "element " << i;
          }
          live[i] = Live{h, p, 1, false};
        }
      } else if (op < 50 && !live.empty()) {  // add a reference
        auto it = std::next(live.begin(), below(live.size()));
        ASSERT_EQ(v->addRef(it->second.handle), it->second.buf);
        ++it->second.count;
      } else if (op < 65 && !live.empty()) {  // write into a locked buffer
        auto it = std::next(live.begin(), below(live.size()));
        const Bytes b = randomBytes();
        std::memcpy(it->second.buf, b.data(), es);
      } else if (!live.empty()) {  // release
        auto it = std::next(live.begin(), below(live.size()));
        const bool modified = rng.Int(0, 2) == 0;
        Live& l = it->second;
        l.dirty = l.dirty || modified;
        const Bytes content(l.buf, l.buf + es);
        v->release(modified, l.handle);
        if (--l.count == 0) {
          if (l.dirty) file[it->first] = content;
          live.erase(it);
        }
      }
      ASSERT_EQ(v->size(), file.size());
      ASSERT_EQ(v->capacity(), expectedCapacity);
    }
    for (auto& [index, l] : live) {
      if (l.dirty) file[index] = Bytes(l.buf, l.buf + es);  // written by the last release
      while (l.count-- > 0) v->release(false, l.handle);
    }
    for (unsigned int i = 0; i < file.size(); ++i) {
      if (!file[i].empty()) {
        ASSERT_EQ(Read(*v, i, es), file[i]) << "element " << i;
      }
    }
  }
}

TEST_F(ExternVectorTest, Failure_EveryFailureIsBadAlloc) {
  try {
    CreateExternVectorVoid(0);
    ADD_FAILURE() << "no exception";
  } catch (const std::bad_alloc& e) {
    EXPECT_STREQ(e.what(), "bad allocation");
  }
  std::unique_ptr<ExternVectorVoidInterface> v(CreateExternVectorVoid(8));
  EXPECT_THROW(v->resize(kMaxCount + 1u, nullptr), std::bad_alloc);
  EXPECT_THROW(v->reserve(kMaxCount + 1u), std::bad_alloc);
  v->resize(0, nullptr);
  v->reserve(0);
  EXPECT_EQ(v->capacity(), 0u);
  const long files = OpenFiles();  // no file before the first growth

  // No temporary directory: the file cannot be made.
  setenv("TMP", (m_dir + "/missing").c_str(), 1);
  EXPECT_THROW(v->reserve(1), std::bad_alloc);
  setenv("TMP", m_dir.c_str(), 1);
  v->reserve(1);
  EXPECT_EQ(v->capacity(), 1u);
  EXPECT_TRUE(OpenFiles() == files + 1 && std::filesystem::is_empty(m_dir));  // open, deleted
  v->clear();
  EXPECT_EQ(OpenFiles(), files);
  v->resize(3, Bytes(8, 1).data());  // usable again after clear
  EXPECT_EQ(Read(*v, 2, 8), Bytes(8, 1));
}

// Bad indices and null handles are refused. A handle used after clear() used to read a
// freed cell; a stale handle whose cell had been reused used to release another caller's lock.
TEST_F(ExternVectorTest, Regression_StaleHandlesAreRefused) {
  std::unique_ptr<ExternVectorVoidInterface> v(CreateExternVectorVoid(8));
  void *h = nullptr, *h2 = nullptr, *h3 = nullptr;
  v->reserve(4);
  EXPECT_THROW(v->lock(0, h), std::out_of_range);  // reserved is not yet sized
  v->resize(4, nullptr);
  EXPECT_THROW(v->lock(4, h), std::out_of_range);
  EXPECT_THROW(v->addRef(nullptr), std::invalid_argument);
  EXPECT_THROW(v->release(false, nullptr), std::invalid_argument);
  v->lock(1, h);
  v->release(false, h);
  v->lock(2, h2);
  EXPECT_NE(h2, h) << "a new lock gets a new handle";
  EXPECT_THROW(v->release(false, h), std::logic_error);
  EXPECT_THROW(v->addRef(h), std::logic_error);
  EXPECT_EQ(v->addRef(h2), v->lock(2, h3));  // the live lock is untouched: count 3
  v->release(false, h2);
  v->release(false, h2);
  v->release(false, h2);
  EXPECT_THROW(v->release(false, h2), std::logic_error);
  v->lock(1, h);
  v->clear();
  EXPECT_THROW(v->release(true, h), std::logic_error);
  v->resize(4, nullptr);
  v->lock(0, h3);
  EXPECT_THROW(v->release(true, h), std::logic_error);
  v->release(false, h3);
}

// Every failing seek, read, write, flush or position query inside a growth, a lock or a
// write-back throws std::bad_alloc; the elements written before stay intact, the size does
// not change, and the vector is discarded without leaking or leaving a file.
TEST_F(ExternVectorTest, Failure_InjectedStdioFailures) {
  const Bytes a(8, 0xA5), b(8, 0x5B);
  const std::function<void(ExternVectorVoidInterface&)> ops[] = {
      [&](ExternVectorVoidInterface& v) { v.resize(40, b.data()); },
      [&](ExternVectorVoidInterface& v) { v.reserve(100); },
      [&](ExternVectorVoidInterface& v) {
        void* h = nullptr;
        std::memcpy(v.lock(2, h), a.data(), 8);  // rewrites the same bytes
        v.release(true, h);
      }};
  for (const auto& op : ops) {
    for (int kind = 0; kind < kKinds; ++kind) {
      bool done = false;
      for (int budget = 0; !done; ++budget) {
        ASSERT_LT(budget, 200);
        std::unique_ptr<ExternVectorVoidInterface> v(CreateExternVectorVoid(8));
        v->resize(4, a.data());
        g_budget[kind] = budget;
        try {
          op(*v);
          done = true;
        } catch (const std::bad_alloc&) {
          EXPECT_EQ(v->size(), 4u);
        }
        g_budget[kind] = -1;
        for (unsigned int i = 0; i < 4; ++i) EXPECT_EQ(Read(*v, i, 8), a) << kind << " " << budget;
      }
    }
  }
}
