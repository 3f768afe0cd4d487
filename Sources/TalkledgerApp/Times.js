.pragma library

/// Minutes and seconds, however many minutes there are.
function clock(seconds) {
    const whole = Math.max(0, Math.floor(seconds))
    const two = number => String(number).padStart(2, "0")
    return two(Math.floor(whole / 60)) + ":" + two(whole % 60)
}
