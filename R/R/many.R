read_nets <- function(paths, ..., recursive = TRUE) {
    files <- unlist(lapply(word_list(paths, "paths"), net_files, flag(recursive, "recursive")))
    if (length(files) == 0) stop("there is no file of a known format in ", list_some(paths))
    nets <- lapply(files, function(file) {
        tryCatch(withCallingHandlers(read_net(file, ...), lumo_problem = muffle),
                 lumo_read_error = identity)
    })
    structure(nets, names = files, class = "lumo_nets")
}

word_list <- function(values, what) {
    if (!is.character(values) || anyNA(values)) {
        stop("`", what, "` should be texts", call. = FALSE)
    }
    values
}

# The reports stay in the net.
muffle <- function(condition) {
    tryInvokeRestart("muffleWarning")
    tryInvokeRestart("muffleMessage")
}

# A file, or the files of a folder whose extension, or that before ".gz" and the like, is of a format.
net_files <- function(path, recursive) {
    if (!dir.exists(path)) return(path)
    formats <- net_formats()
    extensions <- unlist(strsplit(formats$extensions[formats$read], " +"))
    files <- sort(list.files(path, recursive = recursive, full.names = TRUE))
    plain <- tolower(sub("\\.(gz|bz2|xz|zst)$", "", files))
    files[Reduce(`|`, lapply(extensions, function(e) endsWith(plain, e)), FALSE)]
}

as.data.frame.lumo_nets <- function(x, ...) {
    failed <- vapply(x, inherits, NA, "lumo_read_error")
    of <- function(get, absent) {
        vapply(x, function(net) if (inherits(net, "lumo_net")) get(net) else absent, absent)
    }
    nodes <- function(net) net$nodes
    data.frame(file = names(x),
               name = of(function(net) net$name, NA_character_),
               format = of(function(net) net$format, NA_character_),
               status = ifelse(failed, "failed", of(function(net) net$status, "")),
               nodes = of(function(net) length(nodes(net)), 0L),
               links = of(function(net) sum(lengths(lapply(nodes(net), `[[`, "parents"))), 0L),
               problems = vapply(x, function(net) NROW(net$reports), 0L),
               row.names = NULL, ...)
}

print.lumo_nets <- function(x, ...) {
    print(as.data.frame(x), ...)
    invisible(x)
}

as.data.frame.lumo_net <- function(x, ...) {
    nodes <- complete(x)$nodes
    text <- function(field) {
        vapply(nodes, function(node) {
            if (is.null(node[[field]])) NA_character_ else as.character(node[[field]])
        }, "")
    }
    data.frame(node = names(nodes), title = text("title"), kind = text("kind"),
               states = lengths(lapply(nodes, `[[`, "states")),
               parents = vapply(nodes, function(node) paste(node$parents, collapse = ", "), ""),
               relation = text("relation"),
               x = vapply(nodes, function(node) as.double(node$position[[1]]), 0),
               y = vapply(nodes, function(node) as.double(node$position[[2]]), 0),
               row.names = NULL, ...)
}

from_bnlearn <- function(fitted, name = "net") {
    if (!inherits(fitted, "bn.fit")) stop("`fitted` should be a net that bnlearn has fitted")
    unfit <- Filter(function(node) is.null(node$prob), unclass(fitted))
    if (length(unfit) > 0) stop("without a table of probabilities: ", list_some(names(unfit)))
    names <- names(unclass(fitted))
    legal <- make.unique(sub("^([^A-Za-z])", "N\\1", gsub("[^A-Za-z0-9]+", "_", names)), sep = "")
    nodes <- lapply(seq_along(names), function(i) {
        node <- fitted[[i]]
        prob <- node$prob
        if (length(dim(prob)) < 2) prob <- array(prob, length(prob), list(names(prob)))
        states <- dimnames(prob)[[1]]
        list(name = legal[i], title = if (legal[i] != names[i]) names[i], states = states,
             parents = legal[match(node$parents, names)],
             prob = array(prob, dim(prob), unname(dimnames(prob))))
    })
    complete(structure(list(name = word(name, "name"), nodes = stats::setNames(nodes, legal)),
                       class = "lumo_net"))
}
