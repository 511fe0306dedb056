#pragma once

#include <string>

#include "kyt_host/export.h"
#include "kyt_host/types.h"

// The connection itself. Every function may be called from any thread, and from inside a callback.
//
// Callbacks are called on a thread of their connection, one at a time and in the order in which things happened.
// They may take their time and call any operation; when they fall more than 4 MiB of messages behind, reading pauses.

/// Connects to a controller; gives up after 10 seconds.
/// @param ip    address or host name
/// @param port  "6001" for the control connection, or what the controller is set to
/// @return a handle, 1..1000, or -1 when the connection fails or 1000 are in use
KYT_HOST_API SOCKETFD connect_robot(const std::string& ip, const std::string& port);

/// Disconnects, within a second, whatever is going on: calls in progress on other threads end with -1 or -2, a
/// callback that is running is waited for, and none starts after this has returned. Also works inside a callback.
/// @return 0, also for an unknown handle
KYT_HOST_API int disconnect_robot(SOCKETFD socketFd);

/// @return 0 connected; -2 unknown, or not connected now
KYT_HOST_API int get_connection_status(SOCKETFD socketFd);

/// Whether a connection that breaks is restored, with an attempt at once and then every 5 seconds; off at first.
/// To be called while connected.
/// @return 0, or -2 when not connected
KYT_HOST_API int set_reconnect(SOCKETFD socketFd, bool enable);

/// Installs what is called each time a broken connection has been restored; null switches it off.
/// @return 0, or -2 when not connected
KYT_HOST_API int set_reconnect_callback(SOCKETFD socketFd, void (*callback)());

/// Sends one frame. An empty text is sent as {robot:1}.
/// @param code  command code, 0..65535
/// @return 0 whether or not the frame could be sent; -2 when not connected
KYT_HOST_API int send_message(SOCKETFD socketFd, int code, const std::string& text);

/// Installs what is called for every frame that arrives, replies included.
/// @return 0; -2 when not connected; -3 when the callback is null
KYT_HOST_API int recv_message(SOCKETFD socketFd, void (*callback)(int code, const char* text));

/// Installs what is called for every error and warning that the controller raises.
/// @return 0; -2 when not connected; -3 when the callback is null; -5 when the connection has no handler for them
KYT_HOST_API int set_receive_error_or_warnning_message_callback(SOCKETFD socketFd,
                                                                void (*callback)(int kind, const char* data, int code));

/// Installs what is called with every robot state that the controller pushes (JSON text).
/// @return 0; -2 when not connected; -3 when the callback is null; -1 when the connection has no handler for it
KYT_HOST_API int robot_state_callback(SOCKETFD socketFd, void (*callback)(const char* text));

/// @return version, build date and build tag, as in "2.0.4-20260202-1b01ed1"
KYT_HOST_API std::string get_library_version();

/// Sleeps for `ms` milliseconds, signals or not; returns at once for 0 and below.
KYT_HOST_API void delay(int ms);
