read_net <- function(path, format = NULL, strict = FALSE, normalize = FALSE, class_name = NULL,
                     condense = FALSE, create_state_names = FALSE, max_memory = 2^31) {
    native <- native_path(path)
    how <- list(format = format_name(format, "read"), strict = flag(strict, "strict"),
                normalize = flag(normalize, "normalize"), condense = flag(condense, "condense"),
                create_state_names = flag(create_state_names, "create_state_names"),
                class_name = if (is.null(class_name)) "" else word(class_name, "class_name"),
                max_memory = bytes(max_memory, "max_memory"))
    if (dir.exists(native)) {
        stop(read_error("lumo_file_error",
                        paste0("'", path, "' is a folder; read_nets() reads the files in it"),
                        no_reports()))
    }
    result <- .Call(lumo_read, native, how)
    net <- result$net
    net$reports <- as.data.frame(net$reports)
    if (result$unopened) {
        stop(read_error("lumo_file_error", paste0(path, ": ", net$reports$message[1]), net$reports))
    }
    if (is.null(net$nodes)) fail_to_read(net)
    net$nodes <- lapply(net$nodes, finish_node)
    net$groups <- as.data.frame(net$groups)
    net$notes <- result$notes
    net$skipped <- as.data.frame(result$skipped)
    net$source <- normalizePath(native, mustWork = FALSE)
    tell(net$reports)
    structure(net, class = "lumo_net")
}

# The columns of what the states' labels do not say, a row a label.
finish_node <- function(node) {
    info <- node$state_info
    if (!is.null(info)) {
        absent <- list(name = NA_character_, title = NA_character_, comment = NA_character_,
                       value = NA_real_)
        columns <- lapply(names(absent), function(column) {
            if (is.null(info[[column]])) rep(absent[[column]], length(node$states))
            else info[[column]]
        })
        names(columns) <- names(absent)
        node$state_info <- data.frame(columns, row.names = node$states)
    }
    node
}

# ---- Problems -----------------------------------------------------------------------------------

no_reports <- function() {
    data.frame(kind = character(), number = integer(), severity = integer(),
               message = character(), file = character(), line = integer(), column = integer(),
               structure = character(), name = character(), field = character())
}

# A line each: "asia.net:5:26: error: illegal number 'x' (in net 'asia', field 'y') [-3028]".
report_lines <- function(reports) {
    if (nrow(reports) == 0) return(character())
    place <- ifelse(reports$line > 0,
                    paste0(reports$file, ":", reports$line, ":", reports$column), reports$file)
    place <- ifelse(place == "", "", paste0(place, ": "))
    inside <- trimws(paste0(reports$structure,
                            ifelse(reports$name == "", "", paste0(" '", reports$name, "'"))))
    field <- ifelse(reports$field == "", "", paste0("field '", reports$field, "'"))
    both <- ifelse(inside != "" & field != "", ", ", "")
    context <- paste0(inside, both, field)
    paste0(place, reports$kind, ": ", reports$message,
           ifelse(context == "", "", paste0(" (in ", context, ")")), " [", reports$number, "]")
}

# Errors and warnings are warnings of R, since the rest of the file was read; notices are messages.
tell <- function(reports) {
    lines <- report_lines(reports)
    for (i in seq_along(lines)) {
        report <- as.list(reports[i, ])
        kinds <- c(paste0("lumo_", report$kind), "lumo_problem")
        if (report$kind == "notice") {
            message(structure(class = c(kinds, "message", "condition"),
                              list(message = paste0(lines[i], "\n"), call = NULL, report = report)))
        } else {
            warning(warningCondition(lines[i], class = kinds, report = report))
        }
    }
}

read_error <- function(class, text, reports) {
    errorCondition(text, class = c(class, "lumo_read_error"), reports = reports)
}

# The worst report first, then the others.
fail_to_read <- function(net, most = 10) {
    reports <- net$reports
    if (nrow(reports) == 0) {
        text <- if (net$format != "") paste0("nothing was read from '", net$file, "'")
                else paste0("the format of '", net$file, "' is not recognised; name it as `format`")
        stop(read_error(NULL, text, reports))
    }
    worst <- which.max(reports$severity)
    lines <- report_lines(reports)[c(worst, seq_len(nrow(reports))[-worst])]
    if (length(lines) > most) {
        lines <- c(lines[seq_len(most)], paste("and", length(lines) - most, "more"))
    }
    stop(read_error(NULL, paste(lines, collapse = "\n"), reports))
}

explain_problem <- function(number) {
    number <- suppressWarnings(as.integer(number))
    if (length(number) != 1 || is.na(number)) stop("`number` should be the number of a report")
    text <- .Call(lumo_explain, number)
    if (text == "") stop("there is no report ", number)
    cat(text)
    invisible(text)
}

# ---- Arguments ----------------------------------------------------------------------------------

word <- function(value, what) {
    if (!is.character(value) || length(value) != 1 || is.na(value)) {
        stop("`", what, "` should be one text", call. = FALSE)
    }
    enc2utf8(value)
}

flag <- function(value, what) {
    if (!is.logical(value) || length(value) != 1 || is.na(value)) {
        stop("`", what, "` should be TRUE or FALSE", call. = FALSE)
    }
    value
}

bytes <- function(value, what) {
    if (!is.numeric(value) || length(value) != 1 || is.na(value) || value < 0) {
        stop("`", what, "` should be a number of bytes", call. = FALSE)
    }
    min(as.double(value), 2^62)
}

native_path <- function(path) enc2native(path.expand(word(path, "path")))

net_formats <- function() as.data.frame(.Call(lumo_formats))

# The name of a format that is given by that or by an extension of its; "" for none.
format_name <- function(format, use) {
    if (is.null(format)) return("")
    known <- net_formats()
    known <- known[known[[use]], ]
    wanted <- tolower(word(format, "format"))
    extensions <- strsplit(known$extensions, " +")
    dotted <- if (startsWith(wanted, ".")) wanted else paste0(".", wanted)
    found <- known$name == wanted | vapply(extensions, function(e) dotted %in% e, NA)
    if (!any(found)) {
        stop("there is no format '", format, "' to ", use, "; there are ",
             paste(known$name, collapse = ", "), call. = FALSE)
    }
    known$name[found][1]
}
