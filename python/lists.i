// Lists.

namespace std {
template <class T>
class vector {
 public:
  vector();
  void clear();
  std::size_t size() const;
  bool empty() const;
  std::size_t capacity() const;
  void reserve(std::size_t capacity);

  %feature("compactdefaultargs") pop;

  %extend {
    // The size, or an iterable of elements.
    vector(PyObject* elements) {
      return new std::vector<T>(kyt_py::List<T>::fromSizeOrIterable(elements));
    }
    vector(std::size_t size, T value) { return new std::vector<T>(size, value); }

    void append(T value) { self->push_back(std::move(value)); }
    void push_back(T value) { self->push_back(std::move(value)); }
    void extend(PyObject* elements, PyObject** PYTHON_SELF) { kyt_py::List<T>::extend(*PYTHON_SELF, elements); }
    void insert(long index, T value) {
      self->insert(self->begin() + kyt_py::List<T>::clamped(*self, index), std::move(value));
    }
    T pop(long index = -1) {
      if (self->empty()) throw std::out_of_range("pop from empty list");
      const auto place = self->begin() + static_cast<long>(kyt_py::List<T>::within(*self, index, "pop index out of range"));
      T value = std::move(*place);
      self->erase(place);
      return value;
    }
    void pop_back() {
      if (self->empty()) throw std::out_of_range("pop from empty list");
      self->pop_back();
    }
    void remove(PyObject* value, PyObject** PYTHON_SELF) { kyt_py::List<T>::remove(*PYTHON_SELF, value); }
    std::size_t index(PyObject* value, PyObject** PYTHON_SELF) { return kyt_py::List<T>::find(*PYTHON_SELF, value); }
    std::size_t count(PyObject* value, PyObject** PYTHON_SELF) {
      const Py_ssize_t times = PySequence_Count(*PYTHON_SELF, value);
      if (times == -1) throw kyt_py::PythonError();
      return static_cast<std::size_t>(times);
    }
    void reverse() { std::reverse(self->begin(), self->end()); }

    PyObject* front(PyObject** PYTHON_SELF) { return kyt_py::List<T>::element(*PYTHON_SELF, 0); }
    PyObject* back(PyObject** PYTHON_SELF) {
      return kyt_py::List<T>::element(*PYTHON_SELF, static_cast<Py_ssize_t>(self->size()) - 1);
    }
    void assign(PyObject* elements, PyObject** PYTHON_SELF) { kyt_py::List<T>::assign(*PYTHON_SELF, elements); }
    void assign(std::size_t size, T value) { self->assign(size, value); }
    void resize(std::size_t size) { self->resize(size); }
    void resize(std::size_t size, T value) { self->resize(size, value); }

    // Where C++ has iterators, Python has plain indexes.
    std::size_t begin() { return 0; }
    std::size_t end() { return self->size(); }
    void erase(std::size_t position) {
      self->erase(self->begin() + static_cast<long>(kyt_py::List<T>::within(*self, static_cast<Py_ssize_t>(position))));
    }
    void erase(std::size_t first, std::size_t last) {
      if (first > last || last > self->size()) throw std::out_of_range("list index out of range");
      self->erase(self->begin() + static_cast<long>(first), self->begin() + static_cast<long>(last));
    }
  }
};
}

// Index, slices and iteration go to plain functions, past SWIG's: theirs do not notice failed conversions.
%define %list_class(NAME, T...)
%feature("python:tp_repr") std::vector<T> "kyt_py::List< T >::repr";
%feature("python:tp_richcompare") std::vector<T> "kyt_py::List< T >::compare";
%feature("python:tp_iter") std::vector<T> "PySeqIter_New";
%feature("python:nb_bool") std::vector<T> "kyt_py::List< T >::truth";
%feature("python:sq_length") std::vector<T> "kyt_py::List< T >::length";
%feature("python:sq_item") std::vector<T> "kyt_py::List< T >::item";
%feature("python:sq_inplace_concat") std::vector<T> "kyt_py::List< T >::inplaceConcat";
%feature("python:mp_length") std::vector<T> "kyt_py::List< T >::length";
%feature("python:mp_subscript") std::vector<T> "kyt_py::List< T >::subscript";
%feature("python:mp_ass_subscript") std::vector<T> "kyt_py::List< T >::assignSubscript";
%template(NAME) std::vector<T>;
%enddef

%list_class(VectorInt, int);
%list_class(VectorDouble, double);
%list_class(VectorChar, char);
%list_class(VectorString, std::string);
%list_class(VectorVectorInt, std::vector<int>);
%list_class(VectorVectorDouble, std::vector<double>);
%list_class(VectorVectorString, std::vector<std::string>);
