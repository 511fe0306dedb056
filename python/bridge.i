// The callback setters, and the end of the interpreter.

// A callable is any Python object but None.
%typemap(in) PyObject* callback {
  if ($input == Py_None) { SWIG_exception_fail(SWIG_TypeError, "Provided callback is not callable!"); }
  $1 = $input;
}

// They let go of the interpreter lock themselves: only after they have looked at the callable.
%exception {
  try {
    $action
  }
  SWIG_CATCH_STDEXCEPT
}

%define %callback_setter(NAME, WRAPPER, DOC)
%rename(NAME) WRAPPER;
%feature("docstring") WRAPPER DOC;
int WRAPPER(SOCKETFD socketFd, PyObject* callback);
%enddef

%callback_setter(recv_message, recv_message_wrapper,
"Installs what is called as callback(code, text) for every frame that arrives, replies included.
No reference is kept: keep the callable alive. Callables of all connections are called with every frame.
:return: 0; -2 when not connected");
%callback_setter(set_receive_error_or_warnning_message_callback, set_error_warning_message_callback_wrapper,
"Installs what is called as callback(kind, text, code) for every error and warning that the controller raises.
No reference is kept: keep the callable alive. Callables of all connections are called with every message.
:return: 0; -2 when not connected; -5 when the connection has no handler for them");
%callback_setter(robot_state_callback, robot_state_callback_wrapper,
"Installs what is called as callback(text) with every robot state that the controller pushes (JSON text).
No reference is kept: keep the callable alive. Callables of all connections are called with every state.
:return: 0; -2 when not connected; -1 when the connection has no handler for it");
%callback_setter(set_reconnect_callback, set_reconnect_callback_wrapper,
"Installs what is called as callback() each time a broken connection has been restored.
No reference is kept: keep the callable alive. Callables of all connections are called.
:return: 0, or -2 when not connected");

%rename(set_progress_callback) set_progress_callback_wrapper;
%feature("docstring") set_progress_callback_wrapper
"Installs what is called as callback(name, done, total) while a file is transferred, with bytes; None switches it off.
It is called on the thread that transfers the file: at its beginning, at most 20 times per second, and when all bytes
are through. What it raises comes out of the operation at its end, and it is not called any more until then.
No reference is kept: keep the callable alive.";
void set_progress_callback_wrapper(PyObject* callbackOrNone);

%rename(set_diagnostics_handler) set_diagnostics_handler_wrapper;
%feature("docstring") set_diagnostics_handler_wrapper
"Installs what is called as handler(level, line) for every line of diagnostics in place of writing it to standard output
or standard error; None brings the streams back, as the end of the interpreter does. It holds for the whole process.
It is called on whichever thread has something to say, also on several at once, and may call any operation; what it
makes the library say goes to the streams. What it raises goes to sys.unraisablehook. It is kept alive.
:param level: DIAGNOSTICS_INFORMATION, DIAGNOSTICS_WARNING or DIAGNOSTICS_ERROR";
void set_diagnostics_handler_wrapper(PyObject* handlerOrNone);

// `atexit` lets go of what has been registered there after it has called the last of it, whenever that was registered:
// the moment between the last Python code and the end of the interpreter. Applications may do the same earlier, from
// Python; then it is registered anew, once atexit is through.
%header %{
namespace {

PyObject* doNothing(PyObject* /*self*/, PyObject* /*none*/) { Py_RETURN_NONE; }

int hookIntoAtExit(void* /*none*/);

void letGo(PyObject* /*capsule*/) {
  if (PyEval_GetFrame() == nullptr) {
    end_callbacks();
  } else {
    Py_AddPendingCall(hookIntoAtExit, nullptr);
  }
}

int hookIntoAtExit(void* /*none*/) {
  static PyMethodDef method = {"end_callbacks", doNothing, METH_NOARGS, nullptr};
  const kyt_py::Reference held(PyCapsule_New(&method, nullptr, letGo));
  const kyt_py::Reference function(held ? PyCFunction_New(&method, held.get()) : nullptr);
  const kyt_py::Reference atexit(function ? PyImport_ImportModule("atexit") : nullptr);
  const kyt_py::Reference done(atexit ? PyObject_CallMethod(atexit.get(), "register", "O", function.get()) : nullptr);
  return done ? 0 : -1;
}

}  // namespace
%}
%init %{
  if (hookIntoAtExit(nullptr) != 0) return nullptr;
  hear_signals();
%}
