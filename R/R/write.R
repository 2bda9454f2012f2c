write_net <- function(net, path, format = NULL, force = FALSE, plain = FALSE, only_nature = FALSE) {
    net <- complete(net)
    native <- native_path(path)
    # What was read with errors is not all of its file.
    may_replace <- flag(force, "force") && !identical(net$status, "errors")
    source <- if (may_replace || is.null(net$source)) "" else net$source
    lost <- .Call(lumo_write, flat_net(net), native, format_name(format, "write"), source,
                  flag(plain, "plain"), flag(only_nature, "only_nature"), flag(force, "force"))
    for (line in lost) {
        message(structure(class = c("lumo_loss", "message", "condition"),
                          list(message = paste0(line, "\n"), call = NULL)))
    }
    invisible(lost)
}

lay_out <- function(net) {
    net <- complete(net)
    positions <- .Call(lumo_positions, flat_net(net))
    for (i in seq_along(net$nodes)) {
        net$nodes[[i]]$position <- c(x = positions[i, 1], y = positions[i, 2])
    }
    net$drawing$laid_out <- FALSE
    net
}

# The net with what nodes must have; lists that were made by hand may lack it.
complete <- function(net) {
    if (!inherits(net, "lumo_net") || !is.list(net$nodes)) {
        stop("`net` should be a net, as read_net() gives it", call. = FALSE)
    }
    standard <- list(kind = "nature", discrete = TRUE, states = character(), parents = character(),
                     position = c(x = NA_real_, y = NA_real_))
    names <- names(net$nodes)
    net$nodes <- lapply(seq_along(net$nodes), function(i) {
        node <- net$nodes[[i]]
        for (field in names(standard)) {
            if (is.null(node[[field]])) node[[field]] <- standard[[field]]
        }
        if (is.null(node$name) && !is.null(names)) node$name <- names[i]
        node$name <- word(node$name, "name")
        node
    })
    names(net$nodes) <- vapply(net$nodes, `[[`, "", "name")
    if (is.null(net$name)) net$name <- "net"
    if (is.null(net$reports)) net$reports <- no_reports()
    net
}

# ---- The net as the compiled part takes it ------------------------------------------------------
# Everything is there, of the right type and length. What was changed since the net was read is
# completed, or refused with the name of its node.

flat_net <- function(net) {
    names <- names(net$nodes)
    counts <- lengths(lapply(net$nodes, `[[`, "states"))
    nodes <- lapply(seq_along(names), function(i) flat_node(net, i, names, counts))
    groups <- net$groups
    if (is.null(groups)) groups <- data.frame(name = character(), color = character())
    list(name = text_or_null(net$name, "name"), title = text_or_null(net$title, "title"),
         comment = text_or_null(net$comment, "comment"), nodes = nodes,
         groups = list(name = enc2utf8(as.character(groups$name)),
                       color = as.character(groups$color)),
         auto_update = isTRUE(net$auto_update), drawing = flat_drawing(net$drawing),
         file = text_or_null(net$file, "file"), format = text_or_null(net$format, "format"),
         reports = as.list(net$reports))
}

flat_drawing <- function(drawing) {
    standard <- list(extent = c(0L, 0L), margin = c(20L, 20L), draw_style = 7L, label_style = 1L,
                     zoom = 1, laid_out = FALSE,
                     font = list(face = "Arial", size = 12L, bold = FALSE, italic = FALSE),
                     grid = list(x = 10, y = 10, show = FALSE, snap = FALSE))
    like(standard, drawing)
}

# The values of `given` where it has them, with the types of those of `standard`.
like <- function(standard, given) {
    for (name in intersect(names(standard), names(given))) {
        value <- given[[name]]
        if (is.list(standard[[name]])) {
            standard[[name]] <- like(standard[[name]], value)
        } else if (length(value) == length(standard[[name]]) && !anyNA(value)) {
            standard[[name]] <- as.vector(value, typeof(standard[[name]]))
        }
    }
    standard
}

text_or_null <- function(value, what) if (is.null(value)) NULL else word(value, what)

numbers_or_null <- function(value) if (is.null(value)) NULL else as.double(value)

flat_node <- function(net, i, names, counts) {
    node <- net$nodes[[i]]
    refuse <- function(...) stop("node '", names[i], "': ", ..., call. = FALSE)
    parents <- match(node$parents, names)
    if (anyNA(parents)) refuse("there is no parent '", node$parents[is.na(parents)][1], "'")
    states <- flat_states(node, refuse)
    position <- node$position
    missing <- length(position) == 2 && all(is.na(position)) && !any(is.nan(position))
    if (!missing && (!is.numeric(position) || length(position) != 2 || any(!is.finite(position)))) {
        refuse("`position` should be two numbers")
    }
    position <- as.integer(round(pmax(pmin(position, 2e9), -2e9)))
    own <- if (counts[i] > 0) i else integer()
    table <- function(field, dimensions) {
        tryCatch(arrange(node[[field]], net$nodes[dimensions], names[dimensions]),
                 error = function(e) refuse("`", field, "` ", conditionMessage(e)))
    }
    fields <- node$user_fields
    if (length(fields) > 0) {
        if (is.null(names(fields))) refuse("`user_fields` should have names")
        fields <- stats::setNames(enc2utf8(as.character(fields)), enc2utf8(names(fields)))
    }
    flat <- list(name = names[i], title = text_or_null(node$title, "title"),
                 comment = text_or_null(node$comment, "comment"),
                 identity = text_or_null(node$identity, "identity"),
                 titles_are_ids = isTRUE(node$titles_are_ids),
                 declared = isTRUE(node$declared), from_counts = isTRUE(node$from_counts),
                 kind = word(node$kind, "kind"),
                 discrete = !isFALSE(node$discrete), count = counts[[i]], parents = parents,
                 position = position, groups = enc2utf8(as.character(node$groups)),
                 user_fields = fields,
                 relation = text_or_null(node$relation, "relation"),
                 prob = table("prob", c(i, parents)), utility = table("utility", c(own, parents)),
                 experience = table("experience", parents),
                 parameters = numbers_or_null(node$parameters),
                 parameter_order = numbers_or_null(node$parameter_order))
    c(flat, states)
}

# The texts of the states. Those of states that were renamed, or are new, are made of their labels.
flat_states <- function(node, refuse) {
    states <- node$states
    if (length(states) > 0 && (!is.character(states) || anyNA(states) || anyDuplicated(states))) {
        refuse("`states` should be distinct texts")
    }
    levels <- numbers_or_null(node$levels)
    if (!is.null(levels) && length(levels) != length(states) + 1) {
        refuse("`levels` should have one number more than there are states")
    }
    info <- node$state_info[match(states, rownames(node$state_info)), ]
    if (is.null(levels) && (is.null(info) || anyNA(match(states, rownames(node$state_info))))) {
        return(list(labels = enc2utf8(as.character(states))))
    }
    if (is.null(info)) info <- list(name = as.character(states))
    texts <- function(column) {
        if (is.null(info[[column]]) || all(is.na(info[[column]]))) NULL
        else enc2utf8(as.character(info[[column]]))
    }
    values <- if (!is.null(info$value) && !anyNA(info$value)) info$value
    list(state_names = texts("name"), state_titles = texts("title"),
         state_comments = texts("comment"),
         levels = if (is.null(levels)) numbers_or_null(values) else levels)
}

# The array with the dimensions and the states of those nodes, in their order: dimensions with names,
# and named states, may come in any other.
arrange <- function(values, nodes, names) {
    if (is.null(values)) return(NULL)
    if (!is.numeric(values)) stop("should be numbers")
    wanted <- lengths(lapply(nodes, `[[`, "states"))
    given <- if (is.null(dim(values))) length(values) else dim(values)
    named <- names(dimnames(values))
    if (length(names) > 1 && setequal(named, names) && !identical(named, names)) {
        values <- aperm(values, match(names, named))
        given <- dim(values)
    }
    if (prod(wanted) != length(values) || (length(given) > 1 && any(given != wanted))) {
        stop("should have the dimensions ", paste(wanted, collapse = " x "), ", not ",
             paste(given, collapse = " x "))
    }
    places <- lapply(seq_along(dimnames(values)), function(i) {
        labels <- dimnames(values)[[i]]
        if (is.null(labels)) return(seq_len(wanted[i]))
        # Of states with equal labels each counts once.
        places <- match(make.unique(nodes[[i]]$states), make.unique(labels))
        if (anyNA(places)) stop("has other states of '", names[i], "' than that node")
        places
    })
    if (any(vapply(places, is.unsorted, NA))) {
        values <- do.call(`[`, c(list(values), places, drop = FALSE))
    }
    as.double(values)
}
