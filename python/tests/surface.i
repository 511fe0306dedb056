// A module made as `_kyt_host` is, of the stand-ins in surface.h.
%module _surface

%begin %{
#define SWIG_TYPE_TABLE kyt_host_surface
%}

%{
#include <algorithm>
#include <map>

#include "kyt_host/communication/wire_frame.h"
#include "python/lock.h"
#include "python/tests/surface.h"
%}

%include <stdint.i>
%include <exception.i>
%feature("autodoc", "1");
%include "surface_docstrings.i"
%include "../objects.i"
%include "../lists.i"
%list_class(VectorPort, Port);
%list_class(VectorVectorPort, std::vector<Port>);
%include "../arguments.i"
%include "surface.h"
%complete_classes()
