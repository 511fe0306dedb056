#pragma once

#include <string>
#include <vector>

#include "kyt_host/communication/backend_base.h"
#include "kyt_host/export.h"
#include "kyt_host/types.h"

// Files of the controller: jobs, logs, configuration. They travel over a connection of their own, to port 5000 of the
// address that the control connection goes to.
//
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.
//
// The operations that take a handle open such a connection, use it and close it, which takes half a second; several may
// run at once. They return 0 when all is done; -1 when the controller refused a file, did not answer within a second,
// or the connection broke; -2 also when there is none to port 5000; -5 also when a local file or folder cannot be read
// or written. The answer to a download's request they await without limit, as long as the connection stands.
//
// The first failure ends them. A local file appears under its name only when it is complete and on the disk; until then
// it is written beside it, as ".transfer-<process>-<number>". It replaces the file that was there, or that a symbolic
// link there leads to, and takes over its mode; what is no file, such as /dev/null or a pipe, is written into. A pipe's
// reader has a second to come, and ten to go on reading. Several processes may download into one folder; what killed
// ones have left there is removed. Local folders are made as needed.
//
// Whatever fails on this side is told on standard error, with the path and the system's reason. Names that the
// controller lists and that would lead out of the folder they are meant for (empty ones, those with a separator, ".."
// or a control character) are left out, with a line there.

namespace fileoperation {

/// Installs what is called while a file is transferred, in all operations here; null, as at first, switches it off.
/// It is called on the thread that transfers the file: at its beginning, at most 20 times per second, and when all
/// bytes are through.
/// @param callback  gets the file's name on the controller, the bytes that are through and the bytes in all,
///                  which are more than at first when the file has grown meanwhile
KYT_HOST_API void set_progress_callback(void (*callback)(const char* name, long long done, long long total));

// ---- one file, on a connection to the file server

/// Connects to the file server of the controller that `socketFd` is connected to.
/// @return the connection, which the caller closes and deletes, or null
KYT_HOST_API BackendBase* connectToFileServer(SOCKETFD socketFd);

/// Asks whether the controller takes a file, for up to a second.
/// @param name  name on the controller, such as "job/R1/A.JBR"
/// @param size  in bytes
/// @return true when it says yes
KYT_HOST_API bool send_upload_file_request(BackendBase* server, std::string name, long size);

/// Tells that all bytes of a file have been sent, and waits up to a second.
/// @return true when the controller has them
KYT_HOST_API bool send_upload_file_over(BackendBase* server);

/// Uploads a file; asking and confirming are tried three times each.
/// @param localPath   a file that is not empty
/// @param remoteName  as above
/// @return 0; -1 when the controller does not take it or does not confirm it; -5 when it cannot be read or is empty;
///         -2 when `server` is null
KYT_HOST_API int upload_single_file_to_path(BackendBase* server, const std::string& localPath,
                                            const std::string& remoteName);

/// Asks for a file. Waits for the answer without limit, but no longer than the connection stands.
/// @return the file's size in bytes, or -1 when the controller refuses
KYT_HOST_API int send_download_file_request(BackendBase* server, std::string name);

/// Tells that a download is over.
KYT_HOST_API void send_download_file_over(BackendBase* server);

/// Downloads the file that has been asked for. When fewer bytes come than the controller has announced, or none for a
/// second, there is no such file afterwards, or still the one that was there. More may come: the file has grown.
/// @param localPath  in a folder that exists
KYT_HOST_API void download_single_file_to_path(BackendBase* server, std::string localPath);

/// Whether a job file may have this name: it ends in ".JBR", ".JBP" or ".JBPG".
KYT_HOST_API bool isValidFileExtension(const char* name);

// ---- whole operations

/// Uploads a job file as one of robot 1, under the name that it has here.
/// @return as all of them; -3 when the name is none of a job file
KYT_HOST_API int job_upload_by_file(SOCKETFD socketFd, const std::string& localPath);

/// The same as one of another robot's.
/// @param robotNum  1..4
/// @return as all of them; -3 also for a `robotNum` below 1
KYT_HOST_API int job_upload_by_file_robot(SOCKETFD socketFd, int robotNum, const std::string& localPath);

/// Uploads the job files in a folder, in the order of their names, as those of robot 1. Whatever else is there is left
/// out, and so are folders in it.
KYT_HOST_API int job_upload_by_directory(SOCKETFD socketFd, const std::string& directory);

/// Downloads all job files that the controller lists, those of robot 1 into the folder R1 in `directory`, and so on.
KYT_HOST_API int job_download_by_directory(SOCKETFD socketFd, const std::string& directory);

/// Downloads one job file.
/// @param robotNum   whose it is, 1..4
/// @param name       with its suffix, such as "A.JBR"
/// @param directory  where it is put, under the same name
/// @return as all of them; -3 for a `robotNum` below 1, or when the name is none of a job file
KYT_HOST_API int job_download_by_file_robot(SOCKETFD socketFd, int robotNum, const std::string& name,
                                            const std::string& directory);

/// Downloads one of the controller's logs.
/// @param number     0 and up, otherwise -3; the controller's "./log/logInfo.<number>". Virtual controller: 0, which
///                   grows, and 1, the one before.
/// @param directory  where it is put, as "logInfo.<number>"; empty: "./log"
KYT_HOST_API int log_download(SOCKETFD socketFd, int number, const std::string& directory);

/// Downloads whatever there is to back up, in this order: the job files into ./SystemBackUp/robotJob/R1 to R4, the
/// configuration files into ./SystemBackUp/configFile, and the controller's program, "./robot/kyt2.out", under that
/// same name. A program that the controller does not give out is no failure.
KYT_HOST_API int backup_systems(SOCKETFD socketFd);

/// The same into another folder than ./SystemBackUp; the program into robot/kyt2.out there.
KYT_HOST_API int backup_systems_to_directory(SOCKETFD socketFd, const std::string& directory);

/// Lists the job files.
/// @param names  becomes 4 lists, those of the robots 1 to 4; their sizes are the numbers of files
KYT_HOST_API int job_get_controller_all_fileNumAndName(SOCKETFD socketFd, std::vector<std::vector<std::string>>& names);

/// Lists the configuration files.
KYT_HOST_API int backup_get_all_file_list(SOCKETFD socketFd, std::vector<std::string>& names);

}  // namespace fileoperation
