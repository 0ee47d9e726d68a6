# Reads the table of layers (scripts/layers): for `awk -f`, with the table's path in the variable `table`.

# Sets `layers`, by the beginnings of paths; `known`, by the layers' names; and `mayUse`, by two names.
# What the table does wrong is given to `complain(text)` of the program.
function readLayers(    line, words, count, name, uses, i) {
    while ((getline line <table) > 0) {
        count = split(line, words)
        if (count == 0 || words[1] ~ /^#/) {
            continue
        }
        name = words[1]
        mayUse[name, name] = 1
        uses = 0
        for (i = 2; i <= count; ++i) {
            if (words[i] == ":") {
                uses = 1
            } else if (!uses) {
                layers[words[i]] = name
            } else if (words[i] in known) {
                mayUse[name, words[i]] = 1
            } else {
                complain(table ": " name " names " words[i] ", no layer above its line")
            }
        }
        known[name] = 1
    }
}

# The layer of a path: that of the longest beginning which the table has.
function layerOf(path,    beginning, best, found) {
    best = 0
    for (beginning in layers) {
        if (index(path, beginning) == 1 && length(beginning) > best) {
            best = length(beginning)
            found = layers[beginning]
        }
    }
    return best ? found : ""
}
