# The commands of the project; CONTRIBUTING.md describes them.
.PHONY: help dependencies native-dependencies lint-dependencies coverage-dependencies \
    docs-dependencies windows demo package test bench fuzz soak coverage lint docs clean
# They share the folder build, and its lock.
.NOTPARALLEL:

help:
	@sed -n 's/^| `make \([a-z]*\)` | \(.*\) | [^|]*|$$/make \1: \2/p' CONTRIBUTING.md

dependencies:
	@scripts/install-dependencies

native-dependencies:
	@scripts/install-dependencies native

lint-dependencies:
	@scripts/install-dependencies native lint

coverage-dependencies:
	@scripts/install-dependencies native coverage

docs-dependencies:
	@scripts/install-dependencies docs

windows: dependencies
	@scripts/build windows

# Builds only what the demo runs.
demo: dependencies
	@scripts/build windows nbclearcase_fake nbclearcase_journal sampleconnection ccquery examplehost \
		ccdrives
	@examples/demo

package: dependencies
	@scripts/package

test: native-dependencies
	@scripts/test

bench: dependencies
	@scripts/bench

fuzz: native-dependencies
	@scripts/fuzz

soak: native-dependencies
	@scripts/test soak

coverage: coverage-dependencies
	@scripts/coverage

lint: lint-dependencies
	@scripts/lint

docs: docs-dependencies
	@scripts/docs-test
	@scripts/docs

clean:
	@scripts/clean
