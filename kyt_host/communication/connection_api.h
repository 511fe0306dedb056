#pragma once

#include <functional>
#include <string>
#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/system_message.h"
#include "kyt_host/types.h"

// The connection itself.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.
//
// Callbacks are called on a thread of their connection, one at a time and in the order in which things happened.
// They may take their time and call any operation; when the messages that wait for them occupy more than 4 MiB, reading
// pauses. Once the process has begun to exit no callback starts any more, while operations answer to the very end. In
// the child of a fork the parent's handles name no connection; it may connect for itself.

/// Connects to a controller; gives up after 10 seconds.
/// @param ip    address or host name
/// @param port  "6001" for the control connection, or what the controller is set to
/// @return a handle, 1..1000, or -1 when the connection fails or 1000 are in use; a line of diagnostics says why
KYT_HOST_API SOCKETFD connect_robot(const std::string& ip, const std::string& port);

/// The same with a time limit of the caller's, which holds for attempts to restore the connection, too.
/// @param timeoutMs  milliseconds, 1 or more
/// @return as `connect_robot`; -1 also for another `timeoutMs`
KYT_HOST_API SOCKETFD connect_robot_within(const std::string& ip, const std::string& port, int timeoutMs);

/// Disconnects, within a second, whatever is going on: calls in progress on other threads end with -1 or -2, and no
/// callback starts after this has returned. A callback that is running is waited for, but no longer than 0.9 seconds:
/// one that takes more time is left to end by itself, and runs on after this has returned, so what it uses must be kept
/// until `wait_for_callbacks` says that it has ended. Inside a callback of the connection that one is not waited for.
/// @return 0, also for an unknown handle
KYT_HOST_API int disconnect_robot(SOCKETFD socketFd);

/// Waits until no callback of the handle is running and none is due: while connected, until all messages that have
/// arrived were handed to the callbacks and these have returned; once disconnected, until the callback that
/// `disconnect_robot` left running has returned, and what it uses may go. Inside a callback of the handle that one is
/// not waited for.
/// @param timeoutMs  milliseconds; 0 only looks, a negative number waits without limit
/// @return 0; -6 when one is still running, or due, after that time
KYT_HOST_API int wait_for_callbacks(SOCKETFD socketFd, int timeoutMs);

/// @return 0 connected; -2 unknown, or not connected now
KYT_HOST_API int get_connection_status(SOCKETFD socketFd);

/// Whether a connection that breaks is restored, with an attempt at once and then every 5 seconds, or as often as
/// `set_reconnect_interval` says; off at first.
/// To be called while connected.
/// @return 0, or -2 when not connected
KYT_HOST_API int set_reconnect(SOCKETFD socketFd, bool enable);

/// Sets the pause between two attempts to restore a connection; it holds from the next pause on. To be called while
/// connected.
/// @param ms  milliseconds, 1 or more; 5000 at first
/// @return 0; -2 when not connected; -3 for another `ms`
KYT_HOST_API int set_reconnect_interval(SOCKETFD socketFd, int ms);

/// Has the controller asked for its identity (as `get_controller_id` does) whenever it has said nothing for a while.
/// One that leaves several such questions in a row unanswered hangs, though its system may keep the connection up: the
/// connection is taken as broken, after (missed + 1) * intervalMs of silence, and restored if that is wanted. (That the
/// cable is pulled or the system gone is noticed without it, within about ten seconds.) It holds until it is set anew,
/// or `disconnect_robot`. To be called while connected.
/// @param intervalMs  milliseconds, both of the silence before a question and for the answer; 0 switches it off
/// @param missed      how many questions in a row, 1 or more
/// @return 0; -2 when not connected; -3 when an argument is out of its range; -5 when the system has no threads left
KYT_HOST_API int set_heartbeat(SOCKETFD socketFd, int intervalMs, int missed);

/// Installs what is called each time a broken connection has been restored; null switches it off.
/// @return 0, or -2 when not connected
KYT_HOST_API int set_reconnect_callback(SOCKETFD socketFd, void (*callback)());

/// What becomes of a reply that arrives after its query has given up. Off, as at first, it answers the next query of
/// its kind, whose own reply then answers the one after that, and so on. On, a query forgets what arrived before it
/// was sent, so that only a reply that is later still can be mistaken for its own. Replies tell no more than their
/// code.
/// @return 0, or -2 when not connected
KYT_HOST_API int set_fresh_replies(SOCKETFD socketFd, bool enable);

/// Sends one frame. An empty text is sent as {robot:1}.
/// @param code  command code, 0..65535; neither it nor the text is checked
/// @param text  up to 65,535 bytes: a longer one costs the controller the frames after it
/// @return 0 whether or not the frame could be sent; -2 when not connected
KYT_HOST_API int send_message(SOCKETFD socketFd, int code, const std::string& text);

/// Sends any request, and waits for any reply: for operations of a controller that this library does not list. Where it
/// does list one, the codes are the same, and the callers of both get the replies in the order of their requests.
/// @param requestCode  command code of the request, 0..65535
/// @param text         its JSON text, UTF-8, up to 65,535 bytes
/// @param replyCode    command code of the reply
/// @param timeoutMs    milliseconds for the whole, 1 or more; operations take 1000
/// @param reply        receives the reply's text; as it was when none has come
/// @return 0; -1 no reply in time, or the request could not be sent; -2; -3 when an argument is out of its range; -5
///         when the text is not UTF-8
KYT_HOST_API int exchange_message(SOCKETFD socketFd, int requestCode, const std::string& text, int replyCode,
                                  int timeoutMs, std::string& reply);

/// Sends one request on each of several connections, and then collects the replies: that takes as long as the slowest
/// of them, not as all together.
/// @param socketFds    handles, in any order
/// @param requestCode  command code of the request, 0..65535
/// @param text         the request's JSON text, up to 65,535 bytes; the same on every connection
/// @param replyCode    command code of the reply
/// @param timeoutMs    milliseconds for each of them from its request on, 1 or more; operations take 1000
/// @param replies      receives the replies' texts, in the order of the handles; empty where none has come. The
/// decoders
///                     of kyt_host/interface/reply_decoders.h read them.
/// @param results      receives a status for each: 0; -2 when not connected; -1 when it could not be sent, or no reply
///                     has come in time
/// @return 0 when all are; -3 when an argument is out of its range; else the first of `results` that is not 0; -5
///         when the text is not UTF-8
KYT_HOST_API int exchange_message_many(const std::vector<int>& socketFds, int requestCode, const std::string& text,
                                       int replyCode, int timeoutMs, std::vector<std::string>& replies,
                                       std::vector<int>& results);

/// Installs what is called for every frame that arrives, replies included.
/// @return 0; -3 when the callback is null; -2 when not connected
KYT_HOST_API int recv_message(SOCKETFD socketFd, void (*callback)(int code, const char* text));

/// Installs what is called for every error and warning that the controller raises.
/// @param callback  gets the kind, the text and the code. Virtual controller: kind 1 for a warning and 2 for an error;
///                  code 1 for a request that it refuses, 1002 for a quick stop, 1003 for a program that cannot go on,
///                  2000 or 3000 and the number of the port for alarm texts of inputs and outputs.
/// @return 0; -2 when not connected; -3 when the callback is null; -5 when the connection has no handler for them
KYT_HOST_API int set_receive_error_or_warnning_message_callback(SOCKETFD socketFd,
                                                                void (*callback)(int kind, const char* data, int code));

/// Looks up which errors and warnings have arrived, without a callback: by the time that a query has its reply, those
/// that the controller sent before it are there. The latest 256 of each kind are kept.
/// @param number    the number of the last message that is known: those after it are told; 0 all that are kept, -1
/// none.
///                  Becomes that of the latest message of the process, so that the next call tells what is new.
/// @param messages  receives them, oldest first
/// @return 0; -2 when not connected; -5 when the connection has no handler for them
KYT_HOST_API int get_messages(SOCKETFD socketFd, int& number, std::vector<SystemMessage>& messages);

/// Installs what is called with every robot state that the controller pushes (JSON text).
/// @return 0; -2 when not connected; -3 when the callback is null; -1 when the connection has no handler for it
KYT_HOST_API int robot_state_callback(SOCKETFD socketFd, void (*callback)(const char* text));

// The same for functions of any kind, which are told where it comes from: they get the handle, then what the plain
// callbacks get. Both forms may be installed at once; the plain one is called first. An empty function removes the one
// before, which may still be running then: `wait_for_callbacks` tells when it has returned.

/// Installs what is called for every frame that arrives, replies included.
/// @param callback  gets the handle, the command code and the text
/// @return 0, or -2 when not connected
KYT_HOST_API int set_frame_callback(SOCKETFD socketFd,
                                    std::function<void(SOCKETFD socketFd, int code, const std::string& text)> callback);

/// Installs what is called for every error and warning that the controller raises.
/// @param callback  gets the handle, the kind, the text and the code; the numbers are those of
///                  `set_receive_error_or_warnning_message_callback`
/// @return 0; -2 when not connected; -5 when the connection has no handler for them
KYT_HOST_API int set_message_callback(
    SOCKETFD socketFd, std::function<void(SOCKETFD socketFd, int kind, const std::string& text, int code)> callback);

/// Installs what is called with every robot state that the controller pushes.
/// @param callback  gets the handle and the JSON text
/// @return 0; -2 when not connected; -5 when the connection has no handler for it
KYT_HOST_API int set_state_callback(SOCKETFD socketFd,
                                    std::function<void(SOCKETFD socketFd, const std::string& text)> callback);

/// Installs what is called each time the connection has broken, but not by `disconnect_robot`. Operations on the handle
/// return -2 then, until it is restored.
/// @param callback  gets the handle
/// @return 0, or -2 when not connected
KYT_HOST_API int set_connection_lost_callback(SOCKETFD socketFd, std::function<void(SOCKETFD socketFd)> callback);

/// Installs what is called each time a broken connection has been restored.
/// @param callback  gets the handle
/// @return 0, or -2 when not connected
KYT_HOST_API int set_connection_restored_callback(SOCKETFD socketFd, std::function<void(SOCKETFD socketFd)> callback);

/// Adds every frame that goes out or comes in to a file, with its time, its handle and the controller's address: those
/// of all connections of this process, of its file transfers too, and when connections begin and end. A file whose name
/// ends with .pcapng is one for Wireshark (docs/wireshark.md), any other has a line of text for each frame. Callers
/// wait for no disk: when more than 4 MiB wait to be written, frames are left out, which the file tells. A log that
/// cannot be written ends with a line of diagnostics. The child of a fork has no log. A program in whose environment
/// KYT_HOST_FRAMES names a file begins with that, at its first connection.
/// @param path  of the file, in the place of the one before, which is complete then; empty ends the log
/// @return 0; -5 when the file cannot be opened, or the system has no threads left: then the log is as it was
KYT_HOST_API int set_frame_log(const std::string& path);

/// Installs what is called for the same frames, beside the file. It runs on a thread of its own, one frame after the
/// other and some 20 ms late; where it falls behind by 4 MiB frames are left out, which a line of diagnostics tells. It
/// may call any operation. Removed, it may still run to its end, which is waited for up to a second.
/// @param callback  gets the handle; the time in seconds since 1970; whether the frame was sent, or came; its command
///                  code and its text. A frame whose CRC is wrong comes here, too. Empty: none
/// @return 0; -5 when the system has no threads left
KYT_HOST_API int set_frame_log_callback(
    std::function<void(SOCKETFD socketFd, double time, bool sent, int code, const std::string& text)> callback);

/// Installs what is called for every line of diagnostics in place of writing it to standard output or standard error;
/// null brings the streams back. It holds for the whole process, and is called on whichever thread has something to
/// say, also on several at once. It may call any operation but those that send or clear a motion queue; what it makes
/// the library say goes to the streams.
/// @param handler  gets a `DiagnosticsLevel` and the line, without a line end, UTF-8
KYT_HOST_API void set_diagnostics_handler(void (*handler)(int level, const char* line));

/// Whether `connect_robot` may raise the process's soft limit of open descriptors (`ulimit -Sn`, often 1024) when none
/// is left, as a thousand connections need: by as much as the next connection takes, up to 4096 or the hard limit. On
/// at first. An application that uses select(), which knows no descriptor beyond 1023, switches it off; connecting then
/// fails when the limit is reached.
KYT_HOST_API void set_descriptor_limit_raising(bool enable);

/// @return version, build date and build tag, as in "2.0.4-20260202-1b01ed1"
KYT_HOST_API std::string get_library_version();

/// Sleeps for `ms` milliseconds, signals or not; returns at once for 0 and below.
KYT_HOST_API void delay(int ms);
