# The commands of the project; README.md tells what each does.
.PHONY: help dependencies windows demo test bench fuzz soak lint clean

help:
	@sed -n 's/^| `make \([a-z]*\)` | \(.*\) |$$/make \1: \2/p' README.md

dependencies:
	@scripts/install-dependencies

windows: dependencies
	@scripts/build windows

demo: windows
	@examples/demo

test: dependencies
	@scripts/test

bench: dependencies
	@scripts/bench

fuzz: dependencies
	@scripts/fuzz

soak: dependencies
	@scripts/test soak

lint: dependencies
	@scripts/lint

clean:
	rm -rf build
