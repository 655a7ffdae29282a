/* The triangulation with which the layout of springs frees boxes of overlaps. Graphviz
   takes it from a library that has not been built here.

   Points come from left to right. Each takes away the triangles whose circumcircle it
   lies in and is joined with the edges around the hole. A triangle whose circle lies
   left of the point is never looked at again. */
#include <math.h>
#include <stdlib.h>

typedef struct {
    double x, y;
    int number; /* of the caller; -1 for a corner of the triangle around everything */
} POINT;

typedef struct {
    int corners[3];
    double x, y, radius_squared; /* of the circumcircle */
} TRIANGLE;

typedef struct {
    int from, to;
} EDGE;

static void *sized(void *block, size_t count, size_t size)
{
    void *const result = realloc(block, (count ? count : 1) * size);
    if (!result)
        abort();
    return result;
}

static int by_place(const void *a, const void *b)
{
    const POINT *const p = a, *const q = b;
    if (p->x != q->x)
        return p->x < q->x ? -1 : 1;
    return p->y < q->y ? -1 : p->y > q->y;
}

static int by_ends(const void *a, const void *b)
{
    const EDGE *const p = a, *const q = b;
    return p->from != q->from ? p->from - q->from : p->to - q->to;
}

static TRIANGLE triangle(const POINT *points, int a, int b, int c)
{
    TRIANGLE result = {{a, b, c}, 0, 0, INFINITY}; /* of three points in a line */
    const double bx = points[b].x - points[a].x, by = points[b].y - points[a].y;
    const double cx = points[c].x - points[a].x, cy = points[c].y - points[a].y;
    const double area = 2 * (bx * cy - by * cx);
    if (fabs(area) < 1e-12)
        return result;
    const double b2 = bx * bx + by * by, c2 = cx * cx + cy * cy;
    const double x = (cy * b2 - by * c2) / area, y = (bx * c2 - cx * b2) / area;
    result.x = points[a].x + x;
    result.y = points[a].y + y;
    result.radius_squared = x * x + y * y;
    return result;
}

/* The edge with its lower end first, so that both triangles beside it have the same. */
static EDGE edge(int a, int b)
{
    EDGE result = {a < b ? a : b, a < b ? b : a};
    return result;
}

static int only_single(EDGE *edges, int count)
{
    int kept = 0;
    qsort(edges, (size_t)count, sizeof *edges, by_ends);
    for (int i = 0, end; i < count; i = end) {
        for (end = i + 1; end < count && by_ends(&edges[i], &edges[end]) == 0; ++end) {
        }
        if (end == i + 1)
            edges[kept++] = edges[i];
    }
    return kept;
}

typedef struct {
    TRIANGLE *open;
    EDGE *hole;
    EDGE *done; /* those of finished triangles, with repeats */
    int open_count, hole_count, done_count;
} SWEEP;

static void add_edges(EDGE **list, int *count, const TRIANGLE *of)
{
    *list = sized(*list, (size_t)*count + 3, sizeof **list);
    for (int i = 0; i < 3; ++i)
        (*list)[(*count)++] = edge(of->corners[i], of->corners[(i + 1) % 3]);
}

static void take_point(SWEEP *sweep, const POINT *points, int number)
{
    const double x = points[number].x, y = points[number].y;
    int kept = 0;
    sweep->hole_count = 0;
    for (int i = 0; i < sweep->open_count; ++i) {
        const TRIANGLE one = sweep->open[i];
        const double dx = x - one.x, dy = y - one.y;
        if (dx * dx + dy * dy <= one.radius_squared)
            add_edges(&sweep->hole, &sweep->hole_count, &one);
        else if (dx > 0 && dx * dx > one.radius_squared)
            add_edges(&sweep->done, &sweep->done_count, &one);
        else
            sweep->open[kept++] = one;
    }
    const int around = only_single(sweep->hole, sweep->hole_count);
    sweep->open = sized(sweep->open, (size_t)(kept + around), sizeof *sweep->open);
    for (int i = 0; i < around; ++i)
        sweep->open[kept++] = triangle(points, sweep->hole[i].from, sweep->hole[i].to, number);
    sweep->open_count = kept;
}

/* Points in their order, and behind them the corners of a triangle around all. */
static POINT *sorted_points(const double *x, const double *y, int count)
{
    POINT *const points = sized(NULL, (size_t)count + 3, sizeof *points);
    double size = 1;
    for (int i = 0; i < count; ++i) {
        points[i] = (POINT){x[i], y[i], i};
        size = fmax(size, fmax(fabs(x[i]), fabs(y[i])));
    }
    qsort(points, (size_t)count, sizeof *points, by_place);
    points[count] = (POINT){-50 * size, -30 * size, -1};
    points[count + 1] = (POINT){50 * size, -30 * size, -1};
    points[count + 2] = (POINT){0, 60 * size, -1};
    return points;
}

/* Whether no triangle has three points for corners. */
static int lie_in_line(const SWEEP *sweep, int count)
{
    for (int i = 0; i < sweep->done_count; i += 3) {
        const EDGE *const sides = &sweep->done[i];
        if (sides[0].to < count && sides[1].to < count && sides[2].to < count)
            return 0;
    }
    return 1;
}

/* Two numbers of points for each edge, to be given back with free. Points in a line are
   joined with their neighbours. */
int *delaunay_tri(double *x, double *y, int count, int *edge_count)
{
    POINT *const points = sorted_points(x, y, count);
    SWEEP sweep = {0};
    sweep.open = sized(NULL, 1, sizeof *sweep.open);
    sweep.open[sweep.open_count++] = triangle(points, count, count + 1, count + 2);
    for (int i = 0; i < count; ++i)
        take_point(&sweep, points, i);
    for (int i = 0; i < sweep.open_count; ++i)
        add_edges(&sweep.done, &sweep.done_count, &sweep.open[i]);
    if (lie_in_line(&sweep, count)) {
        sweep.done = sized(sweep.done, (size_t)(sweep.done_count + count), sizeof *sweep.done);
        for (int i = 1; i < count; ++i)
            sweep.done[sweep.done_count++] = edge(i - 1, i);
    }
    qsort(sweep.done, (size_t)sweep.done_count, sizeof *sweep.done, by_ends);

    int *const result = sized(NULL, 2 * (size_t)sweep.done_count, sizeof *result);
    *edge_count = 0;
    for (int i = 0; i < sweep.done_count; ++i) {
        const EDGE one = sweep.done[i];
        if (one.to >= count || (i > 0 && by_ends(&one, &sweep.done[i - 1]) == 0))
            continue;
        result[2 * *edge_count] = points[one.from].number;
        result[2 * *edge_count + 1] = points[one.to].number;
        ++*edge_count;
    }
    free(points);
    free(sweep.open);
    free(sweep.hole);
    free(sweep.done);
    return result;
}
