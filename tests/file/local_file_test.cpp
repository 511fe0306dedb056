// What downloads do to the folders of this side: whose files they touch, what they replace, and what they say.

#include <csignal>
#include <mutex>

#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "tests/file/file_fixture.h"
#include "tests/support/process_state.h"

namespace {

using LocalFile = SingleFile;

EventLog toDisk;  // what the library has had written to the disk, and renamed, in order

std::string plainName(const fs::path& path) {
  const std::string name = path.filename();
  return name.substr(0, name.find('-'));
}

}  // namespace

// Instead of the system's, in this program.
extern "C" [[gnu::visibility("default")]] int fsync(int descriptor) {
  toDisk.add("disk " + plainName(fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor))));
  return static_cast<int>(::syscall(SYS_fsync, descriptor));
}
extern "C" [[gnu::visibility("default")]] int rename(const char* from, const char* to) noexcept {
  if (plainName(from) == ".transfer") toDisk.add("name " + plainName(to));
  return ::renameat(AT_FDCWD, from, AT_FDCWD, to);
}

TEST_F(LocalFile, LeftOversGoAndWhatOthersWriteStays) {
  const std::string bytes(3000, 'x');
  write(data / "job/R1/A.JBR", bytes);
  const std::string ours = ".transfer-" + std::to_string(::getpid()) + "-";
  for (int i = 0; i < 100; ++i) write(ours + std::to_string(i), "of one killed before");
  write(".transfer-1-0", "of one killed before");
  const std::string living = ours + "50";  // in a container of its own another process has this id
  const Descriptor lock(::open(living.c_str(), O_RDONLY));
  ASSERT_EQ(::flock(lock, LOCK_EX), 0);
  for (const char* const name : {".transfer-a-0", ".transfer-1-", ".transfer-1-0a"}) write(name, "of the user");
  EXPECT_TRUE(download("A.JBR") == bytes);
  const Files all{"got", living, ".transfer-a-0", ".transfer-1-", ".transfer-1-0a"};
  EXPECT_EQ(tree(folder), all);

  onThreads(4, [&](int thread) {
    const std::unique_ptr<BackendBase> own(connectToFileServer(robot));
    for (int i = 0; i < 25; ++i) {
      const std::string name = "got" + std::to_string(thread) + "." + std::to_string(i);
      EXPECT_EQ(send_download_file_request(own.get(), "job/R1/A.JBR"), 3000);
      download_single_file_to_path(own.get(), name);
      EXPECT_TRUE(read(name) == bytes) << name;
    }
  });
  EXPECT_EQ(tree(folder).size(), all.size() + 100);
}

TEST_F(LocalFile, WhatIsThereKeepsItsKindAndItsMode) {
  write(data / "job/R1/A.JBR", "new");
  fs::create_directory("far");
  write("far/real", "old");
  ::chmod("far/real", 0751);
  fs::create_symlink("real", "far/link");
  fs::create_symlink(folder / "far/link", "link");
  fs::create_symlink("far/later", "dangling");
  EXPECT_EQ(download("A.JBR", "link"), "new");
  EXPECT_EQ(download("A.JBR", "dangling"), "new");
  EXPECT_EQ(tree(folder), (Files{"link", "dangling", "far/link", "far/real", "far/later"}));
  EXPECT_EQ(fs::read_symlink("far/link"), "real");
  EXPECT_EQ(fs::read_symlink("dangling"), "far/later");
  EXPECT_EQ(fs::status("far/real").permissions(), fs::perms(0751));

  fs::create_symlink("/dev/null", "sink");
  download("A.JBR", "sink");
  EXPECT_TRUE(fs::is_character_file("sink"));
  ::mkfifo("pipe", 0600);
  std::string received;
  std::thread reader([&] { received = read("pipe"); });
  download("A.JBR", "pipe");
  reader.join();
  EXPECT_EQ(received, "new");

  write(data / "job/R1/B.JBR", std::string(300'000, 'b'));
  std::thread leaver([&] { std::ifstream("pipe").get(); });  // its end must not end this program
  testing::internal::CaptureStderr();
  download("B.JBR", "pipe");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "pipe: Broken pipe\n");
  leaver.join();
  EXPECT_TRUE(fs::is_fifo("pipe"));
}

TEST_F(LocalFile, AFailureSaysWhereAndWhy) {
  write(data / "job/R1/A.JBR", std::string(100'000, 'x'));
  write("file", "old");
  fs::create_symlink("/dev/full", "full");
  fs::create_symlink("circle", "circle");
  ::mkfifo("pipe", 0600);
  const auto saidOn = [&](const std::string& to) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    download("A.JBR", to);
    return testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
  };
  const std::string unopened = "Error opening file\n";
  EXPECT_EQ(saidOn("nowhere/got"), unopened + "nowhere/got: No such file or directory\n");
  EXPECT_EQ(saidOn("file/got"), unopened + "file/got: Not a directory\n");
  EXPECT_EQ(saidOn("."), unopened + ".: Is a directory\n");
  EXPECT_EQ(saidOn("circle"), unopened + "circle: Too many levels of symbolic links\n");
  EXPECT_EQ(saidOn("pipe"), unopened + "pipe: No such device or address\n");  // nobody reads
  EXPECT_EQ(saidOn("full"), "full: No space left on device\n");

  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit little{50'000, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &little);
  EXPECT_EQ(saidOn("file"), "file: File too large\n");
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(read("file"), "old");
  fs::remove("circle");
  EXPECT_EQ(tree(folder), Files{"file"});

  EXPECT_EQ(upload("missing.JBR"), EXCEPTION);
  EXPECT_EQ(diagnostics, "Unable to open file: missing.JBR\nmissing.JBR: No such file or directory\n");
  EXPECT_EQ(upload("full"), EXCEPTION);
  EXPECT_EQ(diagnostics, "Unable to open file: full\nfull: Not a regular file\n");
  write("cut.JBR", std::string(1'000'000, 'x'));
  set_progress_callback([](const char*, long long done, long long) {
    if (done == 0) fs::resize_file("cut.JBR", 100'000);
  });
  EXPECT_EQ(upload("cut.JBR"), EXCEPTION);
  set_progress_callback(nullptr);
  EXPECT_EQ(diagnostics, "Unable to read file: cut.JBR\ncut.JBR: The file has become shorter\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(job_download_by_directory(robot, "file"), EXCEPTION);
  EXPECT_EQ(job_upload_by_directory(robot, "nowhere"), EXCEPTION);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Unable to create directory: file/R1\nfile/R1: Not a directory\n"
            "Unable to open directory: nowhere\nnowhere: No such file or directory\n");
}

TEST_F(LocalFile, AFinishedFileIsOnTheDisk) {
  for (const char* const name : {"a.JBR", "b.JBR"}) write(data / "job/R1" / name, name);
  const std::size_t before = toDisk.all().size();
  const auto done = [&] {
    auto events = toDisk.all();
    events.erase(events.begin(), events.begin() + static_cast<std::ptrdiff_t>(before));
    return events;
  };
  EXPECT_EQ(job_download_by_directory(robot, "new/down"), SUCCESS);
  std::vector<std::string> expected{
      "disk .transfer", "name a.JBR", "disk .transfer", "name b.JBR", "disk " + folder.filename().string(),
      "disk new",       "disk down",  "disk R1"};
  EXPECT_EQ(done(), expected);
  EXPECT_EQ(download("a.JBR"), "a.JBR");
  for (const auto& event : {"disk .transfer", "name got", "disk ."}) expected.emplace_back(event);
  expected.back() = expected[4];
  EXPECT_EQ(done(), expected);
}
