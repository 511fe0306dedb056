// One file on one connection: every byte, and what is left behind when something goes wrong.

#include "tests/file/file_fixture.h"

TEST_F(SingleFile, EveryByteArrives) {
  for (const std::size_t size : {1U, 255U, 256U, 257U, 3'000'000U}) {
    std::string bytes;
    for (std::size_t i = 0; bytes.size() < size; ++i) bytes += "\"reqId\"" + std::to_string(i * i) + '\0' + "\r\n\xFF";
    bytes.resize(size);
    write("A.JBR", bytes);
    EXPECT_EQ(upload("A.JBR"), SUCCESS) << size;
    EXPECT_EQ(controller.received(Strategy::UploadData).size(), (size + 255) / 256);
    EXPECT_TRUE(read(data / "job/R1/A.JBR") == bytes) << size;
    EXPECT_TRUE(download("A.JBR") == bytes) << size;
    controller.clearReceived();
  }
  write(data / "job/R1/empty.JBR", "");
  EXPECT_EQ(download("empty.JBR"), "");
  write("empty.JBR", "");
  EXPECT_EQ(upload("empty.JBR"), EXCEPTION);
  EXPECT_EQ(diagnostics, "Invalid file size: empty.JBR\n");
  EXPECT_EQ(tree(folder), (Files{"A.JBR", "empty.JBR", "got"}));
}

TEST_F(SingleFile, AnUploadThatFailsLeavesNothing) {
  write("\xFF.JBR", "line");
  EXPECT_EQ(upload("\xFF.JBR"), EXCEPTION);  // no request could carry the name
  EXPECT_EQ(controller.received(Strategy::UploadRequest).size(), 0U);
  write("A.JBR", std::string(1'000'000, 'x'));
  controller.answer(Strategy::UploadRequest, Strategy::UploadRequestReply, R"({"answer":"no"})", 3);
  EXPECT_EQ(upload("A.JBR"), RECEIVE_FAILED);
  EXPECT_EQ(diagnostics, "Upload request failed after retries for file: A.JBR\n");
  const auto requests = controller.received();
  EXPECT_EQ(requests.size(), 3U);
  EXPECT_EQ(requests.back().text, "{\"name\":\"job/R1/A.JBR\",\"size\":1000000}\n");

  controller.answer(Strategy::UploadOver, Strategy::UploadFinishedReply, R"({"finish":false})", 3);
  EXPECT_EQ(upload("A.JBR"), RECEIVE_FAILED);
  EXPECT_EQ(diagnostics, "Upload finish confirmation failed after retries for file: A.JBR\n");
  EXPECT_EQ(controller.received(Strategy::UploadOver).size(), 3U);

  write("A.JBR", std::string(900'000, 'x') + std::string(900'000, 'y'));
  controller.clearReceived();
  controller.silence(Strategy::UploadOver, -1);  // should it come that far
  const auto drop = [&] { controller.dropConnections(); };
  EXPECT_EQ(meanwhile(Strategy::UploadData, 100, drop, [&] { return upload("A.JBR"); }), RECEIVE_FAILED);
  EXPECT_EQ(tree(data / "job"), Files());
}

TEST_F(SingleFile, AnUploadThatIsTakenAtLastIsUploaded) {
  write("A.JBR", "line");
  controller.answer(Strategy::UploadRequest, Strategy::UploadRequestReply, "[]");
  controller.answer(Strategy::UploadRequest, Strategy::UploadRequestReply, R"({"answer":"Yes"})");
  controller.answer(Strategy::UploadOver, Strategy::UploadFinishedReply, "{}", 2);
  EXPECT_EQ(upload("A.JBR"), SUCCESS);
  EXPECT_EQ(read(data / "job/R1/A.JBR"), "line");
  for (const char* const name : {"../A.JBR", "job/R5/A.JBR", "job/R1/../../A.JBR", "/tmp/A.JBR", "log/logInfo.0", ""})
    EXPECT_FALSE(send_upload_file_request(server.get(), name, 4)) << name;
}

TEST_F(SingleFile, ADownloadThatFailsLeavesTheFileThatWasThere) {
  write("got", "old");
  write(data / "job/R1/A.JBR", std::string(1000, 'x'));
  EXPECT_EQ(download("missing.JBR"), "refused");
  controller.answer(Strategy::DownloadNext, Strategy::DownloadData, "##" + std::string(256, 'y'), 2);
  controller.answer(Strategy::DownloadNext, Strategy::DownloadFinished, "{}", 2);
  EXPECT_EQ(download("A.JBR"), "old");  // too short
  EXPECT_EQ(download("A.JBR"), "old");  // nothing at all
  controller.answer(Strategy::DownloadNext, Strategy::DownloadData, "##", 1'000'000);
  EXPECT_EQ(download("A.JBR"), "old");  // empty pieces without end
  controller.clearScript();
  controller.silence(Strategy::DownloadNext);
  EXPECT_EQ(download("A.JBR"), "old");  // falls silent
  controller.answer(Strategy::DownloadRequest, Strategy::DownloadRequestReply, R"({"answer":"yes","size":2147483648})");
  EXPECT_EQ(download("A.JBR"), "refused");

  controller.silence(Strategy::DownloadRequest);  // waited for without limit
  controller.clearReceived();
  const auto drop = [&] { controller.dropConnections(); };
  EXPECT_EQ(meanwhile(Strategy::DownloadRequest, 1, drop, [&] { return download("A.JBR") == "refused" ? -1 : 0; }), -1);
  EXPECT_EQ(tree(folder), Files{"got"});
}

TEST_F(SingleFile, WhatArrivesUntilTheEndIsTheFile) {
  const std::string bytes(1000, 'x');
  const std::string more(256, 'y');
  write(data / "job/R1/A.JBR", bytes);
  EventLog log;
  ProgressCallback::action = [&](const char*, long long done, long long total) {
    log.add(std::to_string(done) + "/" + std::to_string(total));
  };
  set_progress_callback(ProgressCallback::call);
  controller.answer(Strategy::DownloadNext, Strategy::DownloadData, "##" + more, 3);
  EXPECT_TRUE(download("A.JBR") == more + more + more + bytes);  // it has grown
  set_progress_callback(nullptr);
  EXPECT_EQ(log.all().front(), "0/1000");
  EXPECT_EQ(log.all().back(), "1768/1768");
  for (const char* const empty : {"##", "#", ""})
    controller.answer(Strategy::DownloadNext, Strategy::DownloadData, empty);
  EXPECT_TRUE(download("A.JBR") == bytes);

  controller.silence(Strategy::DownloadNext);
  EXPECT_TRUE(download("A.JBR") == bytes);               // the one before
  controller.push(Strategy::DownloadData, "##" + more);  // late, and none of the next file's
  controller.delayReplies(std::chrono::milliseconds(10));
  fs::remove("got");
  EXPECT_TRUE(download("A.JBR") == bytes);
}
