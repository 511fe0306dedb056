"""The documentation site: scripts/docs.sh builds it."""

import logging
import os
import re

project = "kyt_host"
version = release = os.environ.get("KYT_HOST_VERSION", "")
author = "the authors of kyt_host"
copyright = author

extensions = ["myst_parser", "breathe"]
exclude_patterns = ["site"]
default_role = "code"
highlight_language = "none"  # what is a terminal's, unless it says what else it is
toc_object_entries = False  # hundreds on a page, in the sidebar of every page
nitpicky = False
myst_heading_anchors = 3

breathe_projects = {"kyt_host": os.environ.get("KYT_HOST_XML", "")}
breathe_default_project = "kyt_host"
breathe_domain_by_file_pattern = {"*/kyt_host_c.h": "c"}
cpp_id_attributes = c_id_attributes = ["KYT_HOST_API"]

html_theme = "furo"
html_title = f"kyt_host {release}"
html_show_sphinx = False
html_copy_source = False
html_theme_options = {
    "light_css_variables": {"color-brand-primary": "#0b5d78", "color-brand-content": "#0b5d78"},
    "dark_css_variables": {"color-brand-primary": "#6cc5de", "color-brand-content": "#6cc5de"},
}

# A namespace stands in several headers, which the domain takes for the same declaration made twice.
NAMESPACE = re.compile(r"Duplicate C\+\+ declaration[^']*'\.\. cpp:type:: (kyt|kyt_host|virtual_controller)'")
logging.getLogger("sphinx.sphinx.domains.cpp").addFilter(lambda record: not NAMESPACE.match(str(record.msg)))
