#pragma once

#include <Python.h>

#include "kyt_host/types.h"

// The way of the library's callbacks into Python. The library calls plain functions that know nothing of a connection,
// so every callable of a kind is called with every message of that kind, in the order of the handles.
//
// No reference to a callable is taken: the application keeps it alive for as long as it is registered. That ends when
// another is registered in its place, or the handle is disconnected. In a child of a fork nothing is registered.
//
// The setters are called with the interpreter lock held. They throw std::invalid_argument when `callback` cannot be
// called; otherwise they return what the library's setter returns.

int recv_message_wrapper(SOCKETFD socketFd, PyObject* callback);
int set_error_warning_message_callback_wrapper(SOCKETFD socketFd, PyObject* callback);
int robot_state_callback_wrapper(SOCKETFD socketFd, PyObject* callback);
int set_reconnect_callback_wrapper(SOCKETFD socketFd, PyObject* callback);

/// The progress of file transfers; None switches it off. It is called on threads of Python's: the exception that it
/// raises is left for the function that transfers, and keeps it from being called again.
void set_progress_callback_wrapper(PyObject* callbackOrNone);

/// Gets every line of diagnostics; None brings the streams back. Of this one a reference is taken. It may be called on
/// any thread; what it raises goes to `sys.unraisablehook`.
void set_diagnostics_handler_wrapper(PyObject* handlerOrNone);

/// Disconnects, after having dropped the handle's callables: whatever of the connection is still on its way reaches no
/// callable, also when it has to wait for a callback that runs long.
int disconnect_robot_wrapper(SOCKETFD socketFd);

/// From now on what a signal handler raises, as Ctrl-C does, ends the call that it comes upon.
void hear_signals();

/// To be called with the interpreter lock held when Python code has run for the last time: waits, for a while, for a
/// callback that runs; afterwards none starts any more, and threads that are in calls stay there.
void end_callbacks();
