// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "metakit/EntryReader.h"
#include "metakit/PosixFile.h"
#include "metakit/mk4.h"
#include "tests/support/Child.h"
#include "tests/support/TemporaryFolder.h"

namespace {

/// What the calls to come give instead of doing all that was asked for: a number of bytes, or an
/// error below 0.
std::deque<int>& script() {
  static std::deque<int> calls;
  return calls;
}

int next(int otherwise) {
  if (script().empty()) {
    return otherwise;
  }
  const int result = script().front();
  script().pop_front();
  if (result < 0) {
    errno = -result;
    return -1;
  }
  return result;
}

template <class Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

// In place of the C library's.

extern "C" ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off64_t offset) {
  static auto* const call = original<ssize_t(int, const void*, size_t, off64_t)>("pwrite64");
  const int part = next(static_cast<int>(size));
  return part <= 0 ? part : call(descriptor, bytes, static_cast<size_t>(part), offset);
}

extern "C" int ftruncate64(int descriptor, off64_t length) noexcept {
  static auto* const call = original<int(int, off64_t)>("ftruncate64");
  return next(0) < 0 ? -1 : call(descriptor, length);
}

extern "C" int fdatasync(int descriptor) {
  static auto* const call = original<int(int)>("fdatasync");
  return next(0) < 0 ? -1 : call(descriptor);
}

namespace {

using Metakit::PosixFile;

class PosixFileTest : public ::testing::Test {
 protected:
  ~PosixFileTest() override { EXPECT_TRUE(script().empty()) << "calls that were not made"; }

  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file");
  const std::unique_ptr<Metakit::File> file = PosixFile::open(path.c_str(), true);
};

TEST_F(PosixFileTest, ContinuesShortAndInterruptedWrites) {
  script() = {3, -EINTR, 1, -EINTR, -EINTR, 2};
  EXPECT_EQ(file->write(2, "abcdefghij", 10), 0);
  EXPECT_EQ(TestSupport::readFile(path), std::string("\0\0abcdefghij", 12));
}

TEST_F(PosixFileTest, TellsTheErrorThatEndsAWrite) {
  script() = {3, -ENOSPC};
  EXPECT_EQ(file->write(0, "abcdefghij", 10), ENOSPC);
  script() = {0};
  EXPECT_EQ(file->write(0, "abcdefghij", 10), EIO) << "no bytes and no error";
}

TEST_F(PosixFileTest, CutsAndFlushesAgainWhenInterrupted) {
  ASSERT_EQ(file->write(0, "abcdefghij", 10), 0);
  script() = {-EINTR, 0};
  EXPECT_EQ(file->truncate(4), 0);
  EXPECT_EQ(TestSupport::readFile(path), "abcd");
  script() = {-EINTR, -EINTR, 0};
  EXPECT_EQ(file->flush(), 0);
}

TEST_F(PosixFileTest, TellsErrorsOfCutsAndFlushes) {
  script() = {-EIO};
  EXPECT_EQ(file->truncate(4), EIO);
  script() = {-ENOSPC};
  EXPECT_EQ(file->flush(), ENOSPC);
}

TEST_F(PosixFileTest, ALimitOfTheFileSizeIsAnError) {
  // Without this the system would end the process by a signal.
  const auto outcome = TestSupport::inChild([&] {
    const rlimit limit = {5000, 5000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const std::string bytes(1000, 'x');
    for (int i = 0; i < 7; ++i) {
      std::printf("%d ", file->write(i * 900, bytes.data(), bytes.size()));
    }
    std::fflush(stdout);
  });
  EXPECT_EQ(outcome.standardOutput,
            "0 0 0 0 0 " + std::to_string(EFBIG) + ' ' + std::to_string(EFBIG) + ' ');
}

TEST_F(PosixFileTest, ACommitOverTheLimitFailsAndIsMadeUpFor) {
  const std::string database = folder.path("file.mk");
  const auto outcome = TestSupport::inChild([&] {
    c4_Storage storage(database.c_str(), 1);
    c4_View view = storage.GetAs("T[Record:B]");
    const std::string body(3000, 'x');
    rlimit limit = {5000, RLIM_INFINITY};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 5000;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    for (int i = 0; i < 3; ++i) {
      c4_Row row;
      c4_BytesProp("Record")(row) = c4_Bytes(body.data(), static_cast<int>(body.size()));
      view.Add(row);
      std::printf("%d ", storage.Commit() ? 0 : storage.Strategy()._failure);
      c4_Storage found(database.c_str(), 0);
      std::printf("%d ", found.GetAs("T[Record:B]").GetSize());
    }
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::printf("%d ", storage.Commit() ? 0 : storage.Strategy()._failure);
    c4_Storage found(database.c_str(), 0);
    std::printf("%d ", found.GetAs("T[Record:B]").GetSize());
    std::fflush(stdout);
  });
  const std::string failed = std::to_string(EFBIG) + " 1 ";
  EXPECT_EQ(outcome.standardOutput, "0 1 " + failed + failed + "0 3 ");
}

/// "1" for each of: the file has a descriptor above standard error, which is close-on-exec; the
/// other descriptors are unchanged. `open` opens the file with the standard descriptors of the set
/// `closed` closed.
std::string openedWithout(unsigned closed, const std::function<void()>& open) {
  return TestSupport::inChild([closed, &open] {
           const int output = ::fcntl(STDOUT_FILENO, F_DUPFD, 100);
           for (int descriptor = 0; descriptor <= 2; ++descriptor) {
             if ((closed >> descriptor & 1U) != 0) {
               ::close(descriptor);
             }
           }
           const int expected = ::fcntl(output, F_DUPFD, 3);
           ::close(expected);
           open();
           ::dprintf(output, "%d", ::fcntl(expected, F_GETFD) == FD_CLOEXEC);
           for (int descriptor = 0; descriptor <= 2; ++descriptor) {
             const bool isOpen = ::fcntl(descriptor, F_GETFD) >= 0;
             ::dprintf(output, "%d", isOpen == ((closed >> descriptor & 1U) == 0));
           }
         })
      .standardOutput;
}

/// Whatever becomes of the name, and of the descriptor that it was opened by.
TEST_F(PosixFileTest, SharesADescriptor) {
  const int descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  const auto shared = PosixFile::share(descriptor, true);
  ASSERT_NE(shared, nullptr);
  ::close(descriptor);
  ASSERT_EQ(::unlink(path.c_str()), 0);
  EXPECT_EQ(shared->write(0, "text", 4), 0);
  EXPECT_EQ(shared->length(), 4);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(shared->bytes(0, 4)), 4), "text");
  EXPECT_TRUE(shared->writable());
  EXPECT_EQ(PosixFile::share(descriptor, false), nullptr);
}

TEST_F(PosixFileTest, KeepsTheStandardDescriptorsFree) {
  std::unique_ptr<Metakit::File> other;
  for (unsigned closed = 0; closed < 8; ++closed) {
    for (const bool write : {false, true}) {
      const auto open = [&] { other = PosixFile::open(path.c_str(), write); };
      EXPECT_EQ(openedWithout(closed, open), "1111") << closed << ", " << write;
    }
  }
}

TEST_F(PosixFileTest, KeepsAStorageWhenTextIsPrintedToAClosedDescriptor) {
  const std::string database = folder.path("file.mk");
  TestSupport::inChild([&] {
    ::close(STDOUT_FILENO);
    c4_Storage storage(database.c_str(), 1);
    c4_Row row;
    c4_IntProp("Key")(row) = 7;
    c4_View view = storage.GetAs("T[Key:I]");
    view.Add(row);
    storage.Commit();
    std::printf("text");
    std::fflush(stdout);
  });
  c4_Storage found(database.c_str(), 0);
  EXPECT_TRUE(found.Strategy().IsValid());
  EXPECT_EQ(found.GetAs("T[Key:I]").GetSize(), 1);
  EXPECT_EQ(TestSupport::readFile(database).find("text"), std::string::npos);
}

/// A file of bytes with holes between them.
class HolesTest : public ::testing::Test {
 protected:
  static constexpr std::int64_t length = 20 * 1024 * 1024;

  HolesTest() {
    TestSupport::writeFile(path, "");
    EXPECT_EQ(::truncate(path.c_str(), length), 0);
    file = Metakit::PosixFile::open(path.c_str(), true);
    for (const std::int64_t at : {100, 4095, 70000, 9000000, 9000004}) {
      EXPECT_EQ(file->write(at, "\x15\x01\x42", 3), 0);
    }
  }

  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file");
  std::unique_ptr<Metakit::File> file;
};

TEST_F(HolesTest, AreNotStored) {
  std::int64_t stored = 0;
  for (std::int64_t at = 0; at < length;) {
    const Metakit::File::Range range = file->storedFrom(at);
    EXPECT_GE(range.begin, at);
    stored += range.end - range.begin;
    at = range.begin < range.end ? range.end : length;
  }
  EXPECT_GE(stored, 15);
  EXPECT_LT(stored, 1024 * 1024);
}

TEST_F(HolesTest, CountAsSizesOfZero) {
  const std::uint8_t* bytes = file->bytes(0, length);
  for (const std::int32_t position : {8, 97, 98, 99, 4096}) {
    for (const int width : {1, 2, 4, 8, 16, 32}) {
      const auto rows = static_cast<std::int32_t>((length - position - 8) * 8 / width);
      std::int64_t sum = 0;
      for (std::int32_t row = 0; row < rows; ++row) {
        sum += Metakit::packedGet(bytes + position, width, row, Metakit::ByteOrder::Little);
      }
      const Metakit::SizeSum total =
          Metakit::addSizes(*file, position, width, rows, Metakit::ByteOrder::Little);
      EXPECT_EQ(total.negativeRow, -1) << position << ' ' << width;
      EXPECT_EQ(total.sum, sum) << position << ' ' << width;
    }
  }
}

TEST_F(HolesTest, DoNotHideANegativeSize) {
  ASSERT_EQ(file->write(12000000, "\xFF", 1), 0);
  const Metakit::SizeSum total =
      Metakit::addSizes(*file, 1000000, 8, 15000000, Metakit::ByteOrder::Little);
  EXPECT_EQ(total.negativeRow, 11000000);
}

}  // namespace
