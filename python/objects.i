// Classes: what holds for every record and list, and the boxes for outputs.

%{
#include "python/lists.h"
%}

// Conversions and methods keep the interpreter lock.
%exception {
  try {
    $action
  } catch (const kyt_py::PythonError&) {
    SWIG_fail;
  } catch (const std::bad_alloc& exception) {
    SWIG_exception_fail(SWIG_MemoryError, exception.what());
  }
  SWIG_CATCH_STDEXCEPT
}

// Without a name these hold for all classes. SWIG's own compare addresses and crash on objects without __init__.
%feature("python:tp_new", "kyt_py::newUninitialised");
%feature("python:tp_repr", "kyt_py::recordRepr");
%feature("python:tp_richcompare", "kyt_py::compareRecords");
%feature("python:tp_hash", "PyObject_HashNotImplemented");
%feature("python:tp_dictoffset", "0");  // no attributes but the fields

%typemap(in) SWIGTYPE *self (void* address = nullptr) {
  const int code = kyt_py::find($input, $descriptor, address);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$type", $symname, $argnum); }
  $1 = static_cast<$1_ltype>(address);
}

// Reading the other arguments may have moved it: a part of another object, which an `__index__` has changed.
%typemap(check) SWIGTYPE *self {
  const int code = kyt_py::find(self, $descriptor, address$argnum);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$type", $symname, $argnum); }
  $1 = static_cast<$1_ltype>(address$argnum);
}

// A field that is a record or list is assigned by value.
%typemap(in) SWIGTYPE * ($*1_ltype value) {
  const int code = kyt_py::load($input, value);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$*type", $symname, $argnum); }
  $1 = &value;
}

// Constructors own what they return; anything else is a field.
%typemap(out) SWIGTYPE * {
  if ($owner) {
    %set_output(SWIG_NewPointerObj($1, $descriptor, $owner | %newpointer_flags));
  } else {
    %set_output(kyt_py::wrapField($1, $descriptor, self));
  }
}

// Texts are UTF-8; bytes that are not come and go as lone surrogates.
namespace std {
%naturalvar string;
class string;
}

%typemap(in) bool, char, int, unsigned int, long, std::size_t, std::uint32_t, double, std::string, SWIGTYPE {
  const int code = kyt_py::load($input, $1);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$type", $symname, $argnum); }
}
%typemap(in) const SWIGTYPE & ($*1_ltype value) {
  const int code = kyt_py::load($input, value);
  if (!SWIG_IsOK(code)) { %argument_fail(code, "$type", $symname, $argnum); }
  $1 = &value;
}
%apply const SWIGTYPE & { const int &, const double &, const std::string & };
// Which of several functions of one name is meant.
%typecheck(SWIG_TYPECHECK_STRING) std::string, const std::string & {
  $1 = PyUnicode_Check($input);
}
%typecheck(SWIG_TYPECHECK_POINTER) SWIGTYPE {
  $1_ltype value;
  $1 = SWIG_IsOK(kyt_py::load($input, value));
}
%typecheck(SWIG_TYPECHECK_POINTER) const SWIGTYPE & {
  $*1_ltype value;
  $1 = SWIG_IsOK(kyt_py::load($input, value));
}
%typemap(out) char, std::string "$result = kyt_py::wrap($1);";
%typemap(out) const std::string & "$result = kyt_py::wrap(*$1);";

// Where C++ writes a single value: the caller's box.
%feature("python:tp_init") IntRef "kyt_py::initRecord< IntRef >";
%feature("python:tp_init") BoolRef "kyt_py::initRecord< BoolRef >";
%feature("python:tp_init") DoubleRef "kyt_py::initRecord< DoubleRef >";
%feature("python:tp_init") StringRef "kyt_py::initRecord< StringRef >";
%inline %{
struct IntRef {
  int value = 0;
};
struct BoolRef {
  bool value = false;
};
struct DoubleRef {
  double value = 0;
};
struct StringRef {
  std::string value;
};
%}

// To be said after the last class: SWIG sets classes up in the order of the interface files.
%define %complete_classes()
%init %{
  if (!kyt_py::completeClasses(d, fieldOrder)) return nullptr;
%}
%enddef
