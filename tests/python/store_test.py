"""The store: what is saved is found again, in order, a few at a time."""

import warnings

import ambrelkit
import pytest


@pytest.fixture
def store(tmp_path, monkeypatch):
    monkeypatch.setenv("AMBREL_DOCUMENTS_DIR", str(tmp_path))
    with ambrelkit.Store() as store:
        yield store


def test_keeps_records(store):
    times = [*range(1000, 1100), 1000.5, -1]
    for time in times:
        assert store.save({"timestamp": time, "name": "Café 🦉"})
    assert not store.save({"name": "without a time"})
    assert [record["timestamp"] for record in store] == sorted(times)
    assert [record["timestamp"] for record in store.between(1000, 1001)] == [1000, 1000.5, 1001]
    assert next(iter(store)) == {"timestamp": -1, "name": "Café 🦉"}
    assert store.delete({"timestamp": 1000.5}) and not store.delete({})
    assert store.file_name({"timestamp": 7}) == "7.0" and store.file_name({}) is None
    assert len(list(store.path.iterdir())) == 101


def test_a_file_that_cannot_be_read_is_warned_of(store):
    store.save({"timestamp": 1})
    (store.path / "2.0").write_text("no record")
    with pytest.warns(ambrelkit.StoreWarning, match="2.0"):
        assert list(store) == [{"timestamp": 1}]
    with warnings.catch_warnings(), pytest.raises(ambrelkit.StoreWarning):
        warnings.simplefilter("error")
        list(store)


def test_what_cannot_be_done_is_raised(store):
    store.path.write_text("in the way")
    with pytest.raises(ambrelkit.StoreError, match="collections"):
        store.save({"timestamp": 1})
    with pytest.raises(ValueError):
        store.save({"timestamp": 1, "far": float("inf")})
