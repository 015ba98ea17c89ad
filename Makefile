# For those who expect a Makefile; CMake does the work (docs/building.md).
#
#   make                                 leaves ./morvane, built for this machine
#   make EXE=name CXX=clang++            leaves ./name
#   make CMAKE_ARGS=-DMORVANE_ARCH=baseline
#   make test
#   make install PREFIX=/usr/local DESTDIR=
#   make uninstall                       with the same PREFIX and DESTDIR
#   make clean                           removes what was built, with ./morvane, or what EXE names

EXE = morvane
PREFIX = /usr/local
CMAKE_ARGS =

# Recipes read these from the environment, where no character of them means anything to the shell. CMake
# finds DESTDIR and CXX there, too. If nobody names a compiler, it looks for one.
export EXE PREFIX DESTDIR
ifneq ($(origin CXX),default)
export CXX
compiler := $(CXX)
endif
# The makefiles that CMake may write have variables of the same names, and jobs of their own.
unexport MAKEFLAGS MFLAGS MAKELEVEL
jobs = $(or $(patsubst -j%,%,$(filter -j%,$(MAKEFLAGS))),$(shell getconf _NPROCESSORS_ONLN))

# CMake keeps compiler and arguments in a folder that it has begun: each choice has one.
quoted = '$(subst ','\'',$(1))'
choice := $(compiler) $(CXXFLAGS) $(LDFLAGS) $(CMAKE_ARGS)
folder := build/make/$(firstword $(shell printf %s $(call quoted,$(choice)) | cksum))
generator := $(if $(shell command -v ninja),Ninja,Unix Makefiles)

.PHONY: all build install uninstall test clean
all: build
	mkdir -p -- "$$(dirname -- "$$EXE")"
	install -m 755 -- $(folder)/morvane "$$EXE"

build:
	cmake -S . -B $(folder) -G "$(generator)" -DCMAKE_BUILD_TYPE=Release $(CMAKE_ARGS)
	cmake --build $(folder) --parallel $(jobs)

install: build
	cmake --install $(folder) --prefix "$$PREFIX"

# What an installation would put there goes, and so do its folders if nobody else has put anything there.
uninstall: build
	rm -rf $(folder)/staged
	case $$PREFIX in /*) ;; *) PREFIX=$$PWD/$$PREFIX ;; esac; \
	staged=$$PWD/$(folder)/staged; export staged; \
	DESTDIR=$$staged cmake --install $(folder) --prefix "$$PREFIX" >/dev/null && \
	find "$$staged" ! -type d -exec sh -c 'for f; do rm -fv -- "$$DESTDIR$${f#"$$staged"}"; done' - {} + && \
	find "$$staged" -depth -path '*/doc/morvane*' -type d -exec sh -c \
	    'for f; do rmdir -- "$$DESTDIR$${f#"$$staged"}" 2>/dev/null || true; done' - {} +
	rm -rf $(folder)/staged

test:
	./test

clean:
	rm -rf build/make
	rm -f -- "$$EXE"
