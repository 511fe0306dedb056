// Arguments of the library's functions, and the calls. Arguments by value: objects.i.

// int&, bool&, std::string& and char*: in and out. Python passes a value or a box, and gets the value in the returned
// list; a box is filled too.
%{
namespace kyt_py {

template <class T>
struct BoxOf;
template <>
struct BoxOf<int> {
  using type = IntRef;
};
template <>
struct BoxOf<bool> {
  using type = BoolRef;
};
template <>
struct BoxOf<double> {
  using type = DoubleRef;
};
template <>
struct BoxOf<std::string> {
  using type = StringRef;
};

template <class T>
int loadInOut(PyObject* object, T& value, T*& box) {
  const int code = load(object, value);
  typename BoxOf<T>::type* found = nullptr;
  if (code != SWIG_TypeError || !SWIG_IsOK(find(object, found))) return code;
  box = &found->value;
  value = *box;
  return SWIG_OK;
}

template <class T>
bool accepts(PyObject* object) {
  T value{};
  T* box = nullptr;
  return SWIG_IsOK(loadInOut(object, value, box));
}

/// Fills the caller's box, if there is one. @return the value for the list
template <class T>
PyObject* unload(const T& value, T* box) {
  if (box != nullptr) *box = value;
  return wrap(value);
}

/// Adds an output to what a call returns, as SWIG does, which makes a list of one first and then more room.
inline PyObject* append(PyObject* result, PyObject* output) {
  if (result == Py_None) return Py_DECREF(result), output;
  Reference before(result);
  Reference added(output);
  if (!before || !added) return nullptr;
  if (PyList_Check(result) != 0) return PyList_Append(result, output) == 0 ? before.release() : nullptr;
  PyObject* const list = PyList_New(2);
  if (list == nullptr) return nullptr;
  PyList_SET_ITEM(list, 0, before.release());
  PyList_SET_ITEM(list, 1, added.release());
  return list;
}

/// Room for the text that a function writes without asking how long it may be: no longer than a frame, or than the
/// texts that it has been given (a code point is up to 4 bytes).
template <class Arguments>
std::size_t largestText(const Arguments& arguments) {
  std::size_t size = frameMaxPayload;
  const auto add = [&size](PyObject* argument) {
    if (PyUnicode_Check(argument) != 0) size += 4 * static_cast<std::size_t>(PyUnicode_GET_LENGTH(argument));
  };
  if constexpr (std::is_array_v<Arguments>) {
    for (PyObject* const argument : arguments) add(argument);
  } else {  // of an overloaded function: null ends them
    for (std::size_t i = 0; arguments[i] != nullptr; ++i) add(arguments[i]);
  }
  return size;
}

}  // namespace kyt_py
%}

%typemap(in) int & ($*1_ltype value, $1_ltype box = nullptr) {
  const int code = kyt_py::loadInOut($input, value, box);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$type", $symname, $argnum); }
  $1 = &value;
}
%typemap(argout) int & {
  $result = kyt_py::append($result, kyt_py::unload(*$1, box$argnum));
}
%apply int & { bool &, std::string & };

%typemap(in) char * (std::string value, std::string* box = nullptr) {
  const int code = kyt_py::loadInOut($input, value, box);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$type", $symname, $argnum); }
  value.resize(std::max(value.size(), kyt_py::largestText(swig_obj)) + 1);
  $1 = value.data();
}
%typemap(argout) char * {
  $result = kyt_py::append($result, kyt_py::unload(std::string($1), box$argnum));
}
%typemap(in) const char * (std::string value) {
  const int code = kyt_py::load($input, value);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$type", $symname, $argnum); }
  $1 = value.data();
}
%typemap(argout) const char * "";
%typemap(freearg) char *, const char * "";

%typecheck(SWIG_TYPECHECK_INT32) int & {
  $1 = kyt_py::accepts<int>($input);
}
%typecheck(SWIG_TYPECHECK_BOOL) bool & {
  $1 = kyt_py::accepts<bool>($input);
}
%typecheck(SWIG_TYPECHECK_STRING) std::string &, char * {
  $1 = kyt_py::accepts<std::string>($input);
}

// A text that only comes out: Python passes nothing in its place.
%typemap(in, numinputs=0) std::string & reply (std::string value) "$1 = &value;"
%typemap(argout) std::string & reply {
  %append_output(kyt_py::wrap(*$1));
}

// double&, lists and records: the caller's object is filled in place, which may be Python's own list where a list is
// wanted. The call works on a copy, since other threads may use the object meanwhile.
%typemap(in) double & (double number, DoubleRef* box = nullptr) {
  const int code = kyt_py::find($input, box);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$type", $symname, $argnum); }
  number = box->value;
  $1 = &number;
}
%typemap(argout) double & "box$argnum->value = *$1;";

%typemap(in) SWIGTYPE & ($*1_ltype value, $1_ltype object = nullptr) {
  const int code = kyt_py::loadFillable($input, value, object);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$type", $symname, $argnum); }
  $1 = &value;
}
%typemap(argout) SWIGTYPE & {
  if (!kyt_py::fill($input, std::move(*$1))) SWIG_fail;
}
%typecheck(SWIG_TYPECHECK_POINTER) SWIGTYPE & {
  $1 = kyt_py::isFillable<$*1_ltype>($input);
}

%typemap(argout) const int &, const double &, const std::string &, const SWIGTYPE & "";

%typemap(in) enum SWIGTYPE (std::underlying_type_t<$1_ltype> value) {
  const int code = kyt_py::load($input, value);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$type", $symname, $argnum); }
  $1 = static_cast<$1_ltype>(value);
}

// Functions that are told which handle: any callable, which is kept; None takes it away.
%define %callable(FUNCTION...)
%typemap(in) std::function<FUNCTION> {
  if ($input != Py_None && PyCallable_Check($input) == 0) {
    %argument_fail(SWIG_TypeError, "$type", $symname, $argnum);
  }
  $1 = kyt_py::FunctionOf<$1_ltype>::callable($input);
}
%enddef
%callable(void(SOCKETFD));
%callable(void(SOCKETFD, const std::string&));
%callable(void(SOCKETFD, int, const std::string&));
%callable(void(SOCKETFD, int, const std::string&, int));
%callable(void(SOCKETFD, double, bool, int, const std::string&));

// Where the number of arguments tells which of several functions is meant, a wrong one is named.
%feature("fastdispatch");

// Calls into the library let go of the interpreter lock.
%exception {
  try {
    {
      const kyt_py::LockReleased released;
      $action
    }
    if (PyErr_Occurred() != nullptr) SWIG_fail;  // raised by a callback that has been called on this thread
  } catch (const std::bad_alloc& exception) {
    SWIG_exception_fail(SWIG_MemoryError, exception.what());
  }
  SWIG_CATCH_STDEXCEPT
  catch (...) {
    SWIG_exception_fail(SWIG_UnknownError, "unknown exception");
  }
}
