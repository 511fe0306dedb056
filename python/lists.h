#pragma once

// Lists: std::vector<T> with the manners of Python's own.

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "python/objects.h"

namespace kyt_py {

template <class T>
class List {
 public:
  using Vector = std::vector<T>;

  // --- for SWIG's methods; these throw

  /// Raises what `load` reports about an element.
  static void require(int code) {
    if (SWIG_IsOK(code)) return;
    SWIG_Error(code, ("the elements are of type '" + Name<T>::get() + "'").c_str());
    throw PythonError();
  }

  static Vector fromIterable(PyObject* iterable) {
    Vector values;
    const int code = loadIterable(iterable, values);
    if (PyErr_Occurred() != nullptr) throw PythonError();
    require(code);
    return values;
  }

  /// What the constructor takes: how many elements, or an iterable of them.
  static Vector fromSizeOrIterable(PyObject* argument) {
    if (PyIndex_Check(argument) == 0) return fromIterable(argument);
    const Py_ssize_t size = PyNumber_AsSsize_t(argument, PyExc_OverflowError);
    if (size == -1 && PyErr_Occurred() != nullptr) throw PythonError();
    if (size < 0) throw std::invalid_argument("the size is negative");
    return Vector(static_cast<std::size_t>(size));
  }

  /// Element `index`: the value of a simple one, the object itself of a record or list.
  static PyObject* element(PyObject* self, Py_ssize_t index) {
    Vector& values = of(self);
    const std::size_t place = within(values, index);
    if constexpr (std::is_class_v<T> && !std::is_same_v<T, std::string>) {
      Reference object(checked(newObject(&values[place], typeInfo<T>(), 0)));
      if (!Part::attach(object.get(), self, static_cast<Py_ssize_t>(place), findElement<T>)) throw PythonError();
      return object.release();
    } else {
      return wrap(values[place]);
    }
  }

  /// `index`, negative ones counted from the end, if there is such an element.
  static std::size_t within(const Vector& values, Py_ssize_t index, const char* complaint = "list index out of range") {
    const auto size = static_cast<Py_ssize_t>(values.size());
    const Py_ssize_t place = index < 0 ? index + size : index;
    if (place < 0 || place >= size) throw std::out_of_range(complaint);
    return static_cast<std::size_t>(place);
  }

  /// `index` as `insert` takes it: what is out of range means the nearer end.
  static std::ptrdiff_t clamped(const Vector& values, std::ptrdiff_t index) {
    const auto size = static_cast<std::ptrdiff_t>(values.size());
    return std::clamp<std::ptrdiff_t>(index < 0 ? index + size : index, 0, size);
  }

  static std::size_t find(PyObject* self, PyObject* value) {
    const Py_ssize_t index = PySequence_Index(self, value);
    if (index == -1) throw PythonError();
    return static_cast<std::size_t>(index);
  }

  static void remove(PyObject* self, PyObject* value) {
    const std::size_t place = find(self, value);
    Vector& values = of(self);  // which comparing may have changed
    if (place < values.size()) values.erase(values.begin() + static_cast<std::ptrdiff_t>(place));
  }

  static void extend(PyObject* self, PyObject* iterable) {
    Vector added = fromIterable(iterable);
    Vector& values = of(self);
    values.insert(values.end(), added.begin(), added.end());
  }

  static void assign(PyObject* self, PyObject* iterable) {
    Vector values = fromIterable(iterable);
    of(self) = std::move(values);
  }

  // --- for the slots of the class

  static Py_ssize_t length(PyObject* self) {
    return guarded(Py_ssize_t{-1}, [&] { return static_cast<Py_ssize_t>(of(self).size()); });
  }

  static int truth(PyObject* self) {
    return guarded(-1, [&] { return of(self).empty() ? 0 : 1; });
  }

  static PyObject* item(PyObject* self, Py_ssize_t index) {
    return guarded<PyObject*>(nullptr, [&] { return element(self, index); });
  }

  static PyObject* subscript(PyObject* self, PyObject* key) {
    return guarded<PyObject*>(nullptr, [&]() -> PyObject* {
      if (PySlice_Check(key) == 0) return element(self, indexOf(key));
      const Slice slice(key, self);
      Vector chosen;
      chosen.reserve(static_cast<std::size_t>(slice.count));
      for (Py_ssize_t i = 0; i < slice.count; ++i) chosen.push_back((*slice.values)[slice.at(i)]);
      return newObject(new Vector(std::move(chosen)), typeInfo<Vector>(), SWIG_POINTER_OWN);
    });
  }

  static int assignSubscript(PyObject* self, PyObject* key, PyObject* value) {
    return guarded(-1, [&] {
      if (PySlice_Check(key) != 0) {
        value == nullptr ? erase(self, key) : replace(self, key, fromIterable(value));
      } else if (value == nullptr) {
        const Py_ssize_t index = indexOf(key);
        Vector& values = of(self);
        values.erase(values.begin() + static_cast<Py_ssize_t>(within(values, index, outOfRange)));
      } else {
        const Py_ssize_t index = indexOf(key);
        T loaded{};
        require(load(value, loaded));
        Vector& values = of(self);
        values[within(values, index, outOfRange)] = std::move(loaded);
      }
      return 0;
    });
  }

  static PyObject* inplaceConcat(PyObject* self, PyObject* iterable) {
    return guarded<PyObject*>(nullptr, [&] {
      extend(self, iterable);
      Py_INCREF(self);
      return self;
    });
  }

  /// Compares as Python's lists do, with such and with lists of the same class.
  static PyObject* compare(PyObject* self, PyObject* other, int operation) {
    return guarded<PyObject*>(nullptr, [&]() -> PyObject* {
      Vector* another = nullptr;
      if (PyList_Check(other) == 0 && !SWIG_IsOK(kyt_py::find(other, another))) Py_RETURN_NOTIMPLEMENTED;
      const Reference mine(checked(PySequence_List(self)));
      const Reference theirs(checked(PySequence_List(other)));
      return PyObject_RichCompare(mine.get(), theirs.get(), operation);
    });
  }

  static PyObject* repr(PyObject* self) {
    return guarded<PyObject*>(nullptr, [&] {
      const Reference name(checked(PyObject_GetAttrString(reinterpret_cast<PyObject*>(Py_TYPE(self)), "__name__")));
      const Reference elements(checked(PySequence_List(self)));
      return PyUnicode_FromFormat("%U(%R)", name.get(), elements.get());
    });
  }

 private:
  static constexpr const char* outOfRange = "list assignment index out of range";

  struct Slice {
    Slice(PyObject* key, PyObject* self) {
      Py_ssize_t stop = 0;
      if (PySlice_Unpack(key, &start, &stop, &step) != 0) throw PythonError();
      values = &of(self);
      count = PySlice_AdjustIndices(static_cast<Py_ssize_t>(values->size()), &start, &stop, step);
    }
    std::size_t at(Py_ssize_t i) const { return static_cast<std::size_t>(start + i * step); }

    Vector* values = nullptr;
    Py_ssize_t start = 0;
    Py_ssize_t step = 0;
    Py_ssize_t count = 0;
  };

  // Whatever calls into Python (an index, an iterator, a comparison) may change the list, and the whole that it is a
  // part of: it is looked up afterwards.
  static Vector& of(PyObject* self) {
    Vector* values = nullptr;
    if (const int code = kyt_py::find(self, values); !SWIG_IsOK(code)) {
      SWIG_Error(code, code == SWIG_IndexError ? "the list is part of another, which does not have it any more"
                                               : "the list's __init__ has not been called");
      throw PythonError();
    }
    return *values;
  }

  static Py_ssize_t indexOf(PyObject* key) {
    if (PyIndex_Check(key) == 0) {
      PyErr_Format(PyExc_TypeError, "list indices must be integers or slices, not %.200s", Py_TYPE(key)->tp_name);
      throw PythonError();
    }
    const Py_ssize_t index = PyNumber_AsSsize_t(key, PyExc_IndexError);
    if (index == -1 && PyErr_Occurred() != nullptr) throw PythonError();
    return index;
  }

  static void replace(PyObject* self, PyObject* key, Vector added) {
    const Slice slice(key, self);
    Vector& values = *slice.values;
    if (slice.step == 1) {
      const auto first = values.begin() + slice.start;
      values.insert(values.erase(first, first + slice.count), added.begin(), added.end());
      return;
    }
    if (static_cast<Py_ssize_t>(added.size()) != slice.count) {
      PyErr_Format(PyExc_ValueError, "attempt to assign sequence of size %zd to extended slice of size %zd",
                   static_cast<Py_ssize_t>(added.size()), slice.count);
      throw PythonError();
    }
    for (Py_ssize_t i = 0; i < slice.count; ++i) values[slice.at(i)] = std::move(added[static_cast<std::size_t>(i)]);
  }

  static void erase(PyObject* self, PyObject* key) {
    const Slice slice(key, self);
    Vector& values = *slice.values;
    // From the back, so that the places ahead stay what they are.
    for (Py_ssize_t i = 0; i < slice.count; ++i) {
      const std::size_t place = slice.at(slice.step > 0 ? slice.count - 1 - i : i);
      values.erase(values.begin() + static_cast<std::ptrdiff_t>(place));
    }
  }

  /// Runs `work`, with C++ exceptions as Python's.
  template <class Result, class Work>
  static Result guarded(Result failed, const Work& work) {
    try {
      return work();
    } catch (const PythonError&) {
    } catch (const std::bad_alloc& exception) {
      SWIG_Error(SWIG_MemoryError, exception.what());
    } catch (const std::out_of_range& exception) {
      SWIG_Error(SWIG_IndexError, exception.what());
    } catch (const std::exception& exception) {
      SWIG_Error(SWIG_RuntimeError, exception.what());
    }
    return failed;
  }
};

}  // namespace kyt_py
