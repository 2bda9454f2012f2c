as_bnlearn <- function(net, drop = FALSE, uniform = FALSE) {
    nodes <- complete(net)$nodes
    unfit <- lapply(nodes, why_unfit)
    unfit <- unlist(unfit[lengths(unfit) > 0])
    if (length(unfit) > 0 && !flag(drop, "drop")) {
        stop("bnlearn has no place for ", list_some(paste0(names(unfit), " (", unfit, ")")),
             "; drop = TRUE leaves out such nodes and what depends on them")
    }
    left_out <- with_descendants(nodes, names(unfit))
    if (length(left_out) > 0) message("left out: ", list_some(left_out))
    nodes <- nodes[setdiff(names(nodes), left_out)]
    if (length(nodes) == 0) stop("no node is left")
    # bnlearn may know parents in the order of the string or of the alphabet: here both are one.
    parents <- lapply(nodes, function(node) sort(node$parents))
    order <- parents_first(parents)
    given <- vapply(parents[order], paste, "", collapse = ":")
    string <- paste0("[", order, ifelse(given == "", "", "|"), given, "]", collapse = "")
    dist <- lapply(nodes, function(node) {
        distribution(node, parents[[node$name]], nodes[node$parents], flag(uniform, "uniform"))
    })
    list(string = string, dist = dist)
}

# Why bnlearn cannot take the node; NULL when it can.
why_unfit <- function(node) {
    if (node$kind != "nature") return(node$kind)
    if (isFALSE(node$discrete)) return("continuous")
    if (length(node$states) < 2) return("fewer than two states")
    if (!is.null(node$prob)) return(NULL)
    if (identical(node$relation, "noisy-max")) "condensed noisy-max: read with condense = FALSE"
    else "no table"
}

list_some <- function(items, most = 8) {
    if (length(items) > most) {
        items <- c(items[seq_len(most)], paste(length(items) - most, "more"))
    }
    paste(items, collapse = ", ")
}

# The places of each node's children.
children_of <- function(parents) {
    child <- rep(seq_along(parents), lengths(parents))
    split(child, factor(match(unlist(parents), names(parents)), seq_along(parents)))
}

# Those nodes and all that depend on them, in the net's order.
with_descendants <- function(nodes, names) {
    children <- children_of(lapply(nodes, `[[`, "parents"))
    reached <- names(nodes) %in% names
    left <- which(reached)
    while (length(left) > 0) {
        left <- unique(unlist(children[left]))
        left <- left[!reached[left]]
        reached[left] <- TRUE
    }
    names(nodes)[reached]
}

# The names with parents before their children.
parents_first <- function(parents) {
    children <- children_of(parents)
    waits_for <- lengths(parents)
    order <- which(waits_for == 0)
    done <- 0
    while (done < length(order)) {
        done <- done + 1
        for (child in children[[order[done]]]) {
            waits_for[child] <- waits_for[child] - 1L
            if (waits_for[child] == 0) order <- c(order, child)
        }
    }
    if (done < length(parents)) stop("the links of the net run in a circle")
    names(parents)[order]
}

# The node's table with the parents in that order; its rows sum to 1.
distribution <- function(node, parents, parent_nodes, uniform, tolerance = 1e-3) {
    refuse <- function(...) stop("node '", node$name, "': ", ..., call. = FALSE)
    dimensions <- c(list(node), parent_nodes)
    names <- c(node$name, node$parents)
    prob <- tryCatch(arrange(node$prob, dimensions, names),
                     error = function(e) refuse("`prob` ", conditionMessage(e)))
    if (anyNA(prob) || any(prob < 0)) refuse("a probability is negative or missing")
    table <- matrix(prob, length(node$states))
    sums <- colSums(table)
    zero <- sums == 0
    if (any(zero) && !uniform) {
        refuse(sum(zero), " of ", length(zero), " combinations of parent states have no ",
               "probabilities (all are 0); uniform = TRUE makes them equal")
    }
    table[, zero] <- 1 / nrow(table)
    sums[zero] <- 1
    if (any(abs(sums - 1) > tolerance)) {
        refuse("probabilities do not sum to 1; read with normalize = TRUE")
    }
    labels <- stats::setNames(lapply(dimensions, `[[`, "states"), names)
    table <- array(sweep(table, 2, sums, "/"), lengths(labels), labels)
    as.table(if (length(parents) > 1) aperm(table, match(c(node$name, parents), names)) else table)
}
