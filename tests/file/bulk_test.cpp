// The operations on whole sets of files, each on a connection of its own.

#include <algorithm>

#include "tests/file/file_fixture.h"

using BulkTransfer = FileTest;

TEST_F(BulkTransfer, JobsGoUpAreListedAndComeBack) {
  fs::create_directories("up/B.JBR");  // a folder
  for (const char* const name : {"b.JBP", "a.JBR", "c.JBPG", "d.jbr"}) write(fs::path("up") / name, name);
  EXPECT_EQ(job_upload_by_directory(robot, "up"), SUCCESS);
  EXPECT_EQ(controller.received(Strategy::UploadRequest)[0].text, "{\"name\":\"job/R1/a.JBR\",\"size\":5}\n");
  EXPECT_EQ(job_upload_by_file(robot, "up/d.jbr"), PARAM_ERR);
  EXPECT_EQ(job_upload_by_directory(robot, "nowhere"), EXCEPTION);

  std::vector<std::string> many;  // more than one frame holds
  for (int i = 1000; i < 1500; ++i) many.push_back(std::to_string(i) + std::string(100, 'n') + ".JBR");
  for (const auto& name : many) write(data / "job/R3" / name, "");
  std::vector<std::vector<std::string>> names;
  EXPECT_EQ(job_get_controller_all_fileNumAndName(robot, names), SUCCESS);
  EXPECT_EQ(names, (std::vector<std::vector<std::string>>{{"a.JBR", "b.JBP", "c.JBPG"}, {}, many, {}}));
  for (const auto& name : many) fs::remove(data / "job/R3" / name);

  write(data / "job/R4/a.JBR", "of robot 4");
  EXPECT_EQ(job_download_by_directory(robot, "new/down"), SUCCESS);
  EXPECT_EQ(tree("new/down"), (Files{"R1/a.JBR", "R1/b.JBP", "R1/c.JBPG", "R4/a.JBR"}));
  EXPECT_EQ(read("new/down/R4/a.JBR"), "of robot 4");
  EXPECT_EQ(log_download(robot, 0, "logs"), SUCCESS);
  EXPECT_NE(read("logs/logInfo.0").find("uploaded job/R1/a.JBR, 5 bytes"), std::string::npos);
  EXPECT_EQ(log_download(robot, 9, "logs"), RECEIVE_FAILED);
  EXPECT_EQ(tree("logs"), Files{"logInfo.0"});
}

TEST_F(BulkTransfer, ABackupTellsItsProgressAndTrustsNoName) {
  const std::string names = R"(["../up","/tmp/up","a/b","a\\b","..","","line\nfeed","a\u0000b","good"])";
  controller.answer(Strategy::ListConfigFiles, Strategy::ConfigFileListReply, R"({"configfilename":)" + names + "}");
  write(data / "config/good", "good");
  write(data / "job/R2/J.JBR", std::string(300, 'j'));
  EventLog log;
  ProgressCallback::action = [&](const char* name, long long done, long long total) {
    log.add(name + (" " + std::to_string(done)) + "/" + std::to_string(total));
    throw std::runtime_error("a callback's");
  };
  set_progress_callback(ProgressCallback::call);
  testing::internal::CaptureStderr();
  EXPECT_EQ(backup_systems(robot), SUCCESS);
  set_progress_callback(nullptr);
  const std::string diagnostics = testing::internal::GetCapturedStderr();
  EXPECT_NE(diagnostics.find("A file name of the controller is not to be trusted: line?feed\n"), std::string::npos);
  std::string many = R"(["good")";
  for (int i = 0; i < 1000; ++i) many += R"(,"../)" + std::to_string(i) + R"(")";
  controller.answer(Strategy::ListConfigFiles, Strategy::ConfigFileListReply, R"({"configfilename":)" + many + "]}");
  std::vector<std::string> trusted;
  testing::internal::CaptureStderr();
  EXPECT_EQ(backup_get_all_file_list(robot, trusted), SUCCESS);
  EXPECT_EQ(trusted, std::vector<std::string>{"good"});
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 11);
  EXPECT_NE(told.find("File names of the controller that are not to be trusted: 1000\n"), std::string::npos) << told;
  EXPECT_EQ(log.all(),
            (std::vector<std::string>{"job/R2/J.JBR 0/300", "job/R2/J.JBR 300/300", "good 0/4", "good 4/4"}));
  EXPECT_EQ(tree(folder), (Files{"SystemBackUp/configFile/good", "SystemBackUp/robotJob/R2/J.JBR"}));

  controller.silence(Strategy::ListJobFiles);
  const auto flood = [&] {
    controller.push(Strategy::JobFileNameReply, std::string(60'000, '['));
    for (int i = 0; i < 20; ++i) controller.push(Strategy::JobFileNameReply, '"' + std::string(60'000, 'x') + '"');
    controller.push(Strategy::JobFileListFinished, "");
  };
  controller.clearReceived();
  EXPECT_EQ(meanwhile(Strategy::ListJobFiles, 1, flood, [&] { return backup_systems(robot); }), EXCEPTION);
  controller.refuseConnections(true);
  EXPECT_EQ(backup_systems(robot), DISCONNECT);
}
