summary.lumo_net <- function(object, ...) {
    object <- complete(object)
    nodes <- object$nodes
    of <- function(field) vapply(nodes, function(node) as.character(node[[field]])[1], "")
    states <- lengths(lapply(nodes, `[[`, "states"))
    numbers <- lengths(lapply(nodes, `[[`, "prob")) + lengths(lapply(nodes, `[[`, "utility"))
    columns <- data.frame(kind = of("kind"), states = states,
                          parents = lengths(lapply(nodes, `[[`, "parents")),
                          relation = of("relation"), numbers = numbers,
                          row.names = names(nodes))
    problems <- table(factor(object$reports$kind, c("notice", "warning", "error", "fatal")))
    structure(list(name = object$name, title = object$title, file = object$file,
                   format = object$format, status = object$status, nodes = columns,
                   links = sum(columns$parents), groups = NROW(object$groups),
                   problems = problems), class = "lumo_summary")
}

count <- function(number, noun) paste0(number, " ", noun, if (number != 1) "s")

heading <- function(net) {
    title <- if (is.null(net$title) || identical(net$title, net$name)) "" else
        paste0(" (", net$title, ")")
    from <- if (is.null(net$file)) "" else paste0(", ", net$format, " file '", net$file, "'")
    paste0("Net ", net$name, title, from)
}

print.lumo_summary <- function(x, ...) {
    cat(heading(x), "\n", sep = "")
    kinds <- table(x$nodes$kind)
    cat("  ", count(nrow(x$nodes), "node"), if (length(kinds) > 0) " (",
        paste(kinds, names(kinds), collapse = ", "), if (length(kinds) > 0) ")", ", ",
        count(x$links, "link"), ", ", count(sum(x$nodes$numbers), "number"), " in tables",
        if (x$groups > 0) paste0(", ", count(x$groups, "group")), "\n", sep = "")
    some <- x$problems[x$problems > 0]
    cat("  problems: ", if (length(some) == 0) "none"
        else paste(mapply(count, some, names(some)), collapse = ", "), "\n", sep = "")
    print(x$nodes, ...)
    invisible(x)
}

print.lumo_net <- function(x, most = 20, ...) {
    net <- complete(x)
    cat(heading(net), "\n", sep = "")
    shown <- utils::head(net$nodes, most)
    for (node in shown) {
        given <- if (length(node$parents) > 0) paste0(" | ", paste(node$parents, collapse = ", "))
        kind <- if (!identical(node$kind, "nature")) paste0(" (", node$kind, ")")
        cat("  ", node$name, kind, ": ", list_some(node$states), given, "\n", sep = "")
    }
    rest <- length(net$nodes) - length(shown)
    if (rest > 0) cat("  and ", rest, " more\n", sep = "")
    told <- nrow(net$reports)
    if (told > 0) cat("  ", count(told, "report"), ": see $reports\n", sep = "")
    invisible(x)
}

# ---- Pictures -----------------------------------------------------------------------------------

kind_colors <- c(nature = "#fdf6d8", decision = "#d7e6f7", utility = "#dff0d8")

plot.lumo_net <- function(x, states = FALSE, cex = NULL, main = NULL, col = NULL, ...) {
    net <- complete(x)
    nodes <- net$nodes
    if (length(nodes) == 0) stop("the net has no nodes")
    at <- positions_of(net)
    labels <- lapply(nodes, label_lines, states = flag(states, "states"))
    if (is.null(main)) main <- if (is.null(net$title)) net$name else net$title
    # A node is drawn as large as programs draw it that made the positions: 12 units a line.
    extent <- apply(at, 2, range)
    margin <- c(70, 25 + 8 * max(lengths(labels)))
    plot.new()
    plot.window(extent[, 1] + c(-1, 1) * margin[1], rev(extent[, 2]) + c(1, -1) * margin[2],
                asp = 1, ...)
    title(main = main)
    if (is.null(cex)) cex <- min(1, 12 / abs(strheight("M", cex = 1)))
    outlines <- Map(outline, nodes, labels, at[, 1], at[, 2], cex)
    draw_links(nodes, outlines, at, cex)
    fill <- if (is.null(col)) fills(net) else rep_len(col, length(nodes))
    Map(polygon, lapply(outlines, `[[`, "x"), lapply(outlines, `[[`, "y"), col = fill)
    Map(draw_label, labels, at[, 1], at[, 2], cex, readable_on(fill))
    invisible(x)
}

# A row a node; y goes down. Those of the automatic layout where they are missing, and when all nodes are at one place.
positions_of <- function(net) {
    read <- function(net) {
        t(vapply(net$nodes, function(node) as.double(node$position), c(x = 0, y = 0)))
    }
    at <- read(net)
    if (anyNA(at) || (nrow(at) > 1 && nrow(unique(at)) == 1)) read(lay_out(net)) else at
}

label_lines <- function(node, states) {
    name <- if (is.null(node$title) || node$title == "") node$name else node$title
    if (nchar(name) > 40) name <- paste0(substr(name, 1, 38), "...")
    if (!states) return(name)
    c(name, if (length(node$states) > 6) c(node$states[1:5], "...") else node$states)
}

line_height <- function(cex) abs(strheight("Mg", cex = cex)) * 1.5

# The corners of the node's shape: an ellipse, a rectangle, a hexagon. All are convex.
outline <- function(node, lines, x, y, cex) {
    width <- max(strwidth(lines, cex = cex)) / 2 + line_height(cex) / 2
    height <- line_height(cex) * (length(lines) + 0.6) / 2
    round <- if (length(lines) > 1) sqrt(2) else 1.2
    corners <- switch(node$kind,
        decision = list(x = c(-1, 1, 1, -1), y = c(-1, -1, 1, 1)),
        utility = list(x = c(-1, -0.85, 0.85, 1, 0.85, -0.85) * 1.15, y = c(0, -1, -1, 0, 1, 1)),
        list(x = cos(seq(0, 2 * pi, length.out = 73)) * round,
             y = sin(seq(0, 2 * pi, length.out = 73)) * round))
    list(x = x + width * corners$x, y = y + height * corners$y)
}

# Where the line from the middle of a convex outline to a point leaves it; the point itself when it
# is inside.
border <- function(outline, from, to) {
    x <- outline$x - from[1]
    y <- outline$y - from[2]
    dx <- c(x[-1], x[1]) - x
    dy <- c(y[-1], y[1]) - y
    way <- to - from
    across <- way[1] * dy - way[2] * dx
    along <- (x * dy - y * dx) / across  # of the way to the point
    on_edge <- (x * way[2] - y * way[1]) / across  # of the edge
    hit <- along[is.finite(along) & along > 0 & on_edge >= -1e-9 & on_edge <= 1 + 1e-9]
    from + way * min(1, hit)
}

draw_links <- function(nodes, outlines, at, cex) {
    head <- par("csi") * cex * 0.6
    inch <- par("pin")[1] / abs(diff(par("usr")[1:2]))  # a unit of the drawing
    for (child in names(nodes)) for (parent in nodes[[child]]$parents) {
        start <- border(outlines[[parent]], at[parent, ], at[child, ])
        end <- border(outlines[[child]], at[child, ], at[parent, ])
        # Nodes that touch have no room for an arrow, about which R would warn.
        if (sqrt(sum((end - start)^2)) * inch < 0.005) next
        arrows(start[1], start[2], end[1], end[2], length = head, angle = 20)
    }
}

# The color of the node's first group, else that of its kind.
fills <- function(net) {
    vapply(net$nodes, function(node) {
        group <- match(node$groups, net$groups$name)
        if (length(group) > 0 && !is.na(group[1])) net$groups$color[group[1]]
        else kind_colors[[node$kind]]
    }, "")
}

# Black or white.
readable_on <- function(colors) {
    ifelse(colSums(grDevices::col2rgb(colors) * c(0.299, 0.587, 0.114)) < 110, "white", "black")
}

# Lines under each other, the first one bold when there are more.
draw_label <- function(lines, x, y, cex, col) {
    count <- length(lines)
    offset <- (seq_along(lines) - (count + 1) / 2) * line_height(cex)
    text(x, y + offset, lines, cex = cex, col = col,
         font = ifelse(count > 1 & seq_along(lines) == 1, 2, 1))
}
