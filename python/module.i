// Who may import the module: an ordinary Python, and the main interpreter of a process. Its state and the callables that are
// registered with it are those of the process, and one interpreter lock guards them.

%header %{
#ifdef Py_GIL_DISABLED
#error "kyt_host needs a Python with an interpreter lock, and this one is free-threaded"
#endif
// What SWIG makes is made once, by what Python calls.
#undef SWIG_init
#define SWIG_init make_kyt_host_module
extern "C" PyObject* SWIG_init();

namespace {

PyObject* createModule(PyObject* /*wanted*/, PyModuleDef* /*definition*/) {
  static PyObject* module = nullptr;
  if (PyThreadState_Get()->interp != PyInterpreterState_Main()) {
    PyErr_SetString(PyExc_ImportError, "_kyt_host cannot be imported in a sub-interpreter, only in the main interpreter");
    return nullptr;
  }
  if (module == nullptr) module = SWIG_init();
  Py_XINCREF(module);
  return module;
}

}  // namespace

extern "C" SWIGEXPORT PyObject* PyInit__kyt_host() {
  static PyModuleDef_Slot slots[] = {{Py_mod_create, reinterpret_cast<void*>(createModule)}, {0, nullptr}};
  static PyModuleDef definition = {PyModuleDef_HEAD_INIT, "_kyt_host", nullptr, 0, nullptr, slots, nullptr, nullptr, nullptr};
  return PyModuleDef_Init(&definition);
}
%}
