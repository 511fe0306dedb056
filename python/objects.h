#pragma once

// What Python's classes for records and lists have in common: creation, representation, equality, copies.

#include <initializer_list>
#include <map>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "python/values.h"

namespace kyt_py {

/// Thrown where a Python exception has been set.
struct PythonError {};

inline PyObject* checked(PyObject* object) {
  if (object == nullptr) throw PythonError();
  return object;
}

/// Objects whose __init__ has not run (a subclass may forget it) have a class of which nothing is an instance.
inline PyObject* newUninitialised(PyTypeObject* type, PyObject* /*arguments*/, PyObject* /*keywords*/) {
  static swig_type_info none{"none", "none", nullptr, nullptr, nullptr, 0};
  auto* const object = reinterpret_cast<SwigPyObject*>(type->tp_alloc(type, 0));
  if (object != nullptr) object->ty = &none;
  return reinterpret_cast<PyObject*>(object);
}

/// The names of a record's fields, in the order of their declaration: the class attribute `__match_args__`.
inline PyObject* fieldNames(PyObject* object) {
  return PyObject_GetAttrString(reinterpret_cast<PyObject*>(Py_TYPE(object)), "__match_args__");
}

inline PyObject* recordRepr(PyObject* self) {
  const Reference name(PyObject_GetAttrString(reinterpret_cast<PyObject*>(Py_TYPE(self)), "__name__"));
  const Reference names(fieldNames(self));
  const Reference fields(PyList_New(0));
  if (!name || !names || !fields) return nullptr;
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(names.get()); ++i) {
    PyObject* const field = PyTuple_GET_ITEM(names.get(), i);
    const Reference value(PyObject_GetAttr(self, field));
    if (!value) return nullptr;
    const Reference text(PyUnicode_FromFormat("%U=%R", field, value.get()));
    if (!text || PyList_Append(fields.get(), text.get()) != 0) return nullptr;
  }
  const Reference comma(PyUnicode_FromString(", "));
  const Reference text(comma ? PyUnicode_Join(comma.get(), fields.get()) : nullptr);
  return text ? PyUnicode_FromFormat("%U(%U)", name.get(), text.get()) : nullptr;
}

/// Records are equal when they are of one class and all their fields are.
inline PyObject* compareRecords(PyObject* self, PyObject* other, int operation) {
  const bool related =
      PyType_IsSubtype(Py_TYPE(other), Py_TYPE(self)) != 0 || PyType_IsSubtype(Py_TYPE(self), Py_TYPE(other)) != 0;
  if (!related || (operation != Py_EQ && operation != Py_NE)) Py_RETURN_NOTIMPLEMENTED;
  const Reference names(fieldNames(self));
  if (!names) return nullptr;
  int equal = 1;
  for (Py_ssize_t i = 0; equal == 1 && i < PyTuple_GET_SIZE(names.get()); ++i) {
    PyObject* const field = PyTuple_GET_ITEM(names.get(), i);
    const Reference mine(PyObject_GetAttr(self, field));
    const Reference theirs(mine ? PyObject_GetAttr(other, field) : nullptr);
    equal = theirs ? PyObject_RichCompareBool(mine.get(), theirs.get(), Py_EQ) : -1;
  }
  return equal == -1 ? nullptr : PyBool_FromLong((equal == 1) == (operation == Py_EQ) ? 1 : 0);
}

/// How to make another object like this one: for `copy` and `pickle`.
inline PyObject* reduce(PyObject* self, PyObject* /*none*/) {
  PyObject* const type = reinterpret_cast<PyObject*>(Py_TYPE(self));
  if (PySequence_Check(self) != 0) {
    PyObject* const elements = PySequence_List(self);
    return elements == nullptr ? nullptr : Py_BuildValue("O(N)", type, elements);
  }
  const Reference names(fieldNames(self));
  const Reference state(PyDict_New());
  if (!names || !state) return nullptr;
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(names.get()); ++i) {
    PyObject* const field = PyTuple_GET_ITEM(names.get(), i);
    const Reference value(PyObject_GetAttr(self, field));
    if (!value || PyDict_SetItem(state.get(), field, value.get()) != 0) return nullptr;
  }
  if (PyObject_HasAttrString(self, "__dict__") != 0) {  // of a class that an application has derived
    const Reference own(PyObject_GetAttrString(self, "__dict__"));
    if (!own || PyDict_Update(state.get(), own.get()) != 0) return nullptr;
  }
  return Py_BuildValue("O()(OO)", type, Py_None, state.get());
}

/// Makes the C++ object behind `self`, or gives it its first values back. @return false with an exception set
template <class T>
bool makeRecord(PyObject* self) {
  try {
    T* record = nullptr;
    if (SWIG_IsOK(find(self, record))) {
      *record = T();
    } else {
      SWIG_Python_NewPointerObj(self, new T(), typeInfo<T>(), SWIG_BUILTIN_TP_INIT | SWIG_POINTER_OWN);
    }
    return true;
  } catch (const std::bad_alloc&) {
    PyErr_NoMemory();
    return false;
  }
}

/// The `__init__` of a record's class: takes the values of fields by name.
template <class T>
int initRecord(PyObject* self, PyObject* arguments, PyObject* keywords) {
  auto* const type = reinterpret_cast<PyObject*>(static_cast<SwigPyClientData*>(typeInfo<T>()->clientdata)->pytype);
  const Reference name(PyObject_GetAttrString(type, "__name__"));
  const Reference names(PyObject_GetAttrString(type, "__match_args__"));
  if (!name || !names) return -1;
  if (PyTuple_GET_SIZE(arguments) != 0) {
    PyErr_Format(PyExc_TypeError, "%U() takes its fields by name alone", name.get());
    return -1;
  }
  if (!makeRecord<T>(self)) return -1;
  PyObject* field = nullptr;
  PyObject* value = nullptr;
  for (Py_ssize_t place = 0; keywords != nullptr && PyDict_Next(keywords, &place, &field, &value) != 0;) {
    const int known = PySequence_Contains(names.get(), field);
    if (known == 0) PyErr_Format(PyExc_TypeError, "%U() got an unexpected keyword argument '%U'", name.get(), field);
    if (known != 1 || PyObject_SetAttr(self, field, value) != 0) return -1;
  }
  return 0;
}

/// The names of a class's fields, as SWIG has put them into it.
inline std::vector<std::string> fieldsOf(const PyTypeObject* type) {
  std::vector<std::string> names;
  for (const PyGetSetDef* field = type->tp_getset; field != nullptr && field->name != nullptr; ++field) {
    if (std::string_view(field->name).substr(0, 2) != "__") names.emplace_back(field->name);
  }
  return names;
}

/// Takes out of a class what SWIG puts into every one and could do harm: who owns what is not for applications to say.
inline bool removeFromClass(PyTypeObject* type, std::initializer_list<const char*> names) {
  for (const char* const name : names) {
    if (PyDict_GetItemString(type->tp_dict, name) == nullptr) continue;
    if (PyDict_DelItemString(type->tp_dict, name) != 0) return false;
  }
  PyType_Modified(type);
  return true;
}

inline bool completeClass(PyTypeObject* type, const std::vector<std::string>& fields) {
  static PyMethodDef reduceMethod = {"__reduce__", reduce, METH_NOARGS, nullptr};
  const Reference method(PyDescr_NewMethod(type, &reduceMethod));
  const Reference names(PyTuple_New(static_cast<Py_ssize_t>(fields.size())));
  if (!method || !names) return false;
  for (std::size_t i = 0; i < fields.size(); ++i)
    PyTuple_SET_ITEM(names.get(), static_cast<Py_ssize_t>(i), wrap(fields[i]));
  const bool done = PyDict_SetItemString(type->tp_dict, "__reduce__", method.get()) == 0 &&
                    PyDict_SetItemString(type->tp_dict, "__match_args__", names.get()) == 0;
  return done && removeFromClass(type, {"__dict__", "thisown"});
}

/// Adds to the classes of the module what SWIG has no word for; `order` tells the fields as they were declared.
inline bool completeClasses(PyObject* module, const std::map<std::string, std::vector<std::string>>& order) {
  if (!removeFromClass(SwigPyObject_type(), {"acquire", "append", "disown", "next", "own"})) return false;
  PyObject* name = nullptr;
  PyObject* object = nullptr;
  for (Py_ssize_t place = 0; PyDict_Next(module, &place, &name, &object) != 0;) {
    if (PyType_Check(object) == 0) continue;
    auto* const type = reinterpret_cast<PyTypeObject*>(object);
    const auto declared = order.find(PyUnicode_AsUTF8(name));
    if (!completeClass(type, declared != order.end() ? declared->second : fieldsOf(type))) return false;
  }
  return true;
}

}  // namespace kyt_py
